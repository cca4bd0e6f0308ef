#pragma once

#include "Platform/Json.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace tessarin
{

// A whole number, also one that is written as a fraction or with an exponent; absent for anything else, a boolean included.
[[nodiscard]] inline std::optional<std::int64_t> wholeNumberAt(const JsonObject& object, std::string_view key)
{
    const Json* value = object.if_contains(key);
    if (value == nullptr || value->is_bool()) {
        return std::nullopt;
    }
    boost::system::error_code error;
    const auto number = value->to_number<std::int64_t>(error);
    return error ? std::nullopt : std::optional(number);
}

} // namespace tessarin
