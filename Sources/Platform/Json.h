#pragma once

#include <boost/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

using Json = boost::json::value;
using JsonObject = boost::json::object;
using JsonArray = boost::json::array;

// How deep arrays and objects may nest; a deeper text does not parse.
inline constexpr std::size_t maximumJsonDepth = 512;

// Parses one whole document; absent for anything else, and for what nests deeper. Duplicates of a key: the last wins.
[[nodiscard]] std::optional<Json> parseJson(
    std::string_view text, boost::json::storage_ptr storage = {}, std::size_t maximumDepth = maximumJsonDepth);

// Forgiving readers: a missing key and a value of another type are both absent.
[[nodiscard]] std::optional<std::string_view> textAt(const JsonObject& object, std::string_view key);
[[nodiscard]] const JsonObject* objectAt(const JsonObject& object, std::string_view key);
[[nodiscard]] const JsonArray* arrayAt(const JsonObject& object, std::string_view key);
[[nodiscard]] std::optional<bool> booleanAt(const JsonObject& object, std::string_view key);
// Whole numbers and fractions.
[[nodiscard]] std::optional<double> numberAt(const JsonObject& object, std::string_view key);
// A number as a whole one: booleans are 0 and 1, fractions are truncated; absent when it does not fit.
[[nodiscard]] std::optional<std::int64_t> integerAt(const JsonObject& object, std::string_view key);

// False for a value that has no JSON text: a number that is not finite, at any depth.
[[nodiscard]] bool isValidJson(const Json& value);
// On one line, without blanks. Requires: isValidJson(value).
[[nodiscard]] std::string compactJson(const Json& value);
// For people: keys sorted by their bytes, two blanks a level, `"key" : value`, `/` written `\/`, empty containers as "{\n\n}" and "[\n\n]".
// Absent when the root is no array or object, or the value is not valid.
[[nodiscard]] std::optional<std::string> prettyJson(const Json& value);

} // namespace tessarin
