#include "Platform/Json.h"

#include "Platform/JsonText.h"

#include <boost/json/basic_parser_impl.hpp>

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace tessarin
{

namespace
{

namespace json = boost::json;

// Builds values like the library's own parser, but reads fractions exactly and refuses numbers that no double holds: the library's are
// off by one unit in the last place now and then, and become infinite when they are too large.
struct ValueHandler {
    static constexpr std::size_t max_object_size = json::object::max_size();
    static constexpr std::size_t max_array_size = json::array::max_size();
    static constexpr std::size_t max_key_size = json::string::max_size();
    static constexpr std::size_t max_string_size = json::string::max_size();

    json::value_stack stack;
    std::string numberStart; // what came before when a number is told in parts

    ValueHandler(json::storage_ptr storage, unsigned char* buffer, std::size_t size) : stack(std::move(storage), buffer, size) { }

    bool on_document_begin(json::error_code&) { return true; }
    bool on_document_end(json::error_code&) { return true; }
    bool on_object_begin(json::error_code&) { return true; }
    bool on_object_end(std::size_t count, json::error_code&)
    {
        stack.push_object(count);
        return true;
    }
    bool on_array_begin(json::error_code&) { return true; }
    bool on_array_end(std::size_t count, json::error_code&)
    {
        stack.push_array(count);
        return true;
    }
    bool on_key_part(json::string_view part, std::size_t, json::error_code&)
    {
        stack.push_chars(part);
        return true;
    }
    bool on_key(json::string_view part, std::size_t, json::error_code&)
    {
        stack.push_key(part);
        return true;
    }
    bool on_string_part(json::string_view part, std::size_t, json::error_code&)
    {
        stack.push_chars(part);
        return true;
    }
    bool on_string(json::string_view part, std::size_t, json::error_code&)
    {
        stack.push_string(part);
        return true;
    }
    bool on_number_part(json::string_view part, json::error_code&)
    {
        numberStart.append(part.data(), part.size());
        return true;
    }
    bool on_int64(std::int64_t value, json::string_view, json::error_code&)
    {
        numberStart.clear();
        stack.push_int64(value);
        return true;
    }
    bool on_uint64(std::uint64_t value, json::string_view, json::error_code&)
    {
        numberStart.clear();
        stack.push_uint64(value);
        return true;
    }
    bool on_double(double approximation, json::string_view part, json::error_code& error)
    {
        std::string_view digits(part.data(), part.size());
        if (!numberStart.empty()) {
            numberStart.append(digits);
            digits = numberStart;
        }
        const std::optional<double> value = readJsonNumber(digits, approximation);
        numberStart.clear();
        if (!value) {
            error = json::make_error_code(json::error::exponent_overflow);
            return false;
        }
        stack.push_double(*value);
        return true;
    }
    bool on_bool(bool value, json::error_code&)
    {
        stack.push_bool(value);
        return true;
    }
    bool on_null(json::error_code&)
    {
        stack.push_null();
        return true;
    }
    bool on_comment_part(json::string_view, json::error_code&) { return true; }
    bool on_comment(json::string_view, json::error_code&) { return true; }
};

const Json* valueAt(const JsonObject& object, std::string_view key)
{
    return object.if_contains(json::string_view(key.data(), key.size()));
}

} // namespace

std::optional<Json> parseJson(std::string_view text, json::storage_ptr storage, std::size_t maximumDepth)
{
    json::parse_options options;
    options.max_depth = maximumDepth;
    std::array<unsigned char, 4096> buffer;
    json::basic_parser<ValueHandler> parser(options, json::storage_ptr(), buffer.data(), buffer.size());
    ValueHandler& handler = parser.handler();
    handler.stack.reset(std::move(storage));
    json::error_code error;
    const std::size_t used = parser.write_some(false, text.data(), text.size(), error);
    if (error || used != text.size() || !parser.done()) {
        return std::nullopt;
    }
    return handler.stack.release();
}

std::optional<std::string_view> textAt(const JsonObject& object, std::string_view key)
{
    const Json* value = valueAt(object, key);
    if (!value || !value->is_string()) {
        return std::nullopt;
    }
    const json::string& text = value->get_string();
    return std::string_view(text.data(), text.size());
}

const JsonObject* objectAt(const JsonObject& object, std::string_view key)
{
    const Json* value = valueAt(object, key);
    return value ? value->if_object() : nullptr;
}

const JsonArray* arrayAt(const JsonObject& object, std::string_view key)
{
    const Json* value = valueAt(object, key);
    return value ? value->if_array() : nullptr;
}

std::optional<bool> booleanAt(const JsonObject& object, std::string_view key)
{
    const Json* value = valueAt(object, key);
    return value && value->is_bool() ? std::optional(value->get_bool()) : std::nullopt;
}

std::optional<double> numberAt(const JsonObject& object, std::string_view key)
{
    const Json* value = valueAt(object, key);
    if (!value) {
        return std::nullopt;
    }
    if (const std::int64_t* whole = value->if_int64()) {
        return static_cast<double>(*whole);
    }
    if (const std::uint64_t* whole = value->if_uint64()) {
        return static_cast<double>(*whole);
    }
    const double* fraction = value->if_double();
    return fraction ? std::optional(*fraction) : std::nullopt;
}

std::optional<std::int64_t> integerAt(const JsonObject& object, std::string_view key)
{
    const Json* value = valueAt(object, key);
    if (!value) {
        return std::nullopt;
    }
    if (const bool* flag = value->if_bool()) {
        return *flag ? 1 : 0;
    }
    if (const std::int64_t* whole = value->if_int64()) {
        return *whole;
    }
    // A uint64 here is beyond the largest int64: smaller ones are parsed as int64, but a program may have made one.
    if (const std::uint64_t* whole = value->if_uint64()) {
        return *whole <= static_cast<std::uint64_t>(INT64_MAX) ? std::optional(static_cast<std::int64_t>(*whole)) : std::nullopt;
    }
    const double* fraction = value->if_double();
    // The bounds are exact as doubles; the comparison is false for NaN.
    if (fraction && *fraction >= -9223372036854775808.0 && *fraction < 9223372036854775808.0) {
        return static_cast<std::int64_t>(*fraction);
    }
    return std::nullopt;
}

bool isValidJson(const Json& value)
{
    std::vector<const Json*> pending{ &value };
    while (!pending.empty()) {
        const Json& current = *pending.back();
        pending.pop_back();
        if (const double* number = current.if_double()) {
            if (!std::isfinite(*number)) {
                return false;
            }
        } else if (const JsonArray* array = current.if_array()) {
            for (const Json& element : *array) {
                pending.push_back(&element);
            }
        } else if (const JsonObject* object = current.if_object()) {
            for (const auto& member : *object) {
                pending.push_back(&member.value());
            }
        }
    }
    return true;
}

} // namespace tessarin
