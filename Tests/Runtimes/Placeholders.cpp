#include "Placeholders.h"

namespace scripted
{

namespace json = boost::json;

static const json::value* valueAtPath(const json::object* message, std::string_view path)
{
    const json::value* value = nullptr;
    while (message) {
        const std::size_t dot = path.find('.');
        value = message->if_contains(path.substr(0, dot));
        if (dot == std::string_view::npos)
            return value;
        message = value ? value->if_object() : nullptr;
        path.remove_prefix(dot + 1);
    }
    return nullptr;
}

// What stands between "${" and "}".
static const json::value* valueOf(std::string_view place, const Placeholders& placeholders)
{
    const std::size_t colon = place.find(':');
    if (colon == std::string_view::npos)
        return valueAtPath(placeholders.message, place);
    if (!placeholders.kept)
        return nullptr;
    const auto kept = placeholders.kept->find(std::string(place.substr(0, colon)));
    return kept == placeholders.kept->end() ? nullptr : valueAtPath(&kept->second, place.substr(colon + 1));
}

static std::string asText(const json::value* value)
{
    if (!value)
        return {};
    return value->is_string() ? std::string(value->get_string().c_str(), value->get_string().size()) : json::serialize(*value);
}

std::string filled(std::string text, const Placeholders& placeholders)
{
    const std::string round = std::to_string(placeholders.round);
    for (std::size_t at = 0; (at = text.find("{n}", at)) != std::string::npos; at += round.size())
        text.replace(at, 3, round);
    for (std::size_t at = 0; (at = text.find("${", at)) != std::string::npos;) {
        const std::size_t end = text.find('}', at);
        if (end == std::string::npos)
            break;
        const std::string value = asText(valueOf(std::string_view(text).substr(at + 2, end - at - 2), placeholders));
        text.replace(at, end + 1 - at, value);
        at += value.size();
    }
    return text;
}

static json::value filledText(const std::string& text, const Placeholders& placeholders)
{
    const bool isOnePath = text.starts_with("${") && text.find('}') == text.size() - 1;
    if (!isOnePath)
        return json::value(filled(text, placeholders));
    const json::value* value = valueOf(std::string_view(text).substr(2, text.size() - 3), placeholders);
    return value ? *value : json::value(nullptr);
}

json::value filled(const json::value& value, const Placeholders& placeholders)
{
    if (const auto* text = value.if_string())
        return filledText(std::string(text->data(), text->size()), placeholders);
    if (const auto* array = value.if_array()) {
        json::array result;
        for (const json::value& item : *array)
            result.push_back(filled(item, placeholders));
        return result;
    }
    if (const auto* object = value.if_object()) {
        json::object result;
        for (const auto& [key, item] : *object)
            result[key] = filled(item, placeholders);
        return result;
    }
    return value;
}

bool matches(const json::value& value, const json::value& pattern)
{
    const auto* keys = pattern.if_object();
    if (!keys)
        return value == pattern;
    const auto* object = value.if_object();
    if (!object)
        return false;
    for (const auto& [key, expected] : *keys) {
        const json::value* found = object->if_contains(key);
        if (!found || !matches(*found, expected))
            return false;
    }
    return true;
}

} // namespace scripted
