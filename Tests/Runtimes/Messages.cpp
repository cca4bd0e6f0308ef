#include "Messages.h"

#include "Placeholders.h"

#include <string_view>

namespace scripted
{

namespace json = boost::json;

static std::string textAt(const json::object& object, const char* key)
{
    const json::value* value = object.if_contains(key);
    return value && value->is_string() ? std::string(value->get_string().data(), value->get_string().size()) : std::string();
}

std::string nameOf(const json::object& message)
{
    if (message.contains("method"))
        return textAt(message, "method");
    std::string name = textAt(message, "type");
    if (const json::value* request = message.if_contains("request"); request && request->is_object()) {
        const std::string subtype = textAt(request->get_object(), "subtype");
        if (!subtype.empty())
            name += "/" + subtype;
    }
    return name;
}

bool meets(const json::object& message, const json::value& expectation)
{
    if (const auto* name = expectation.if_string())
        return nameOf(message) == std::string_view(name->data(), name->size());
    const json::object* pattern = expectation.if_object();
    if (!pattern)
        return false;
    if (const json::value* id = pattern->if_contains("response"); id && pattern->size() == 1)
        return !message.contains("method") && message.contains("id") && message.at("id") == *id;
    return matches(message, expectation);
}

std::optional<std::string> sessionIdOf(const json::object& message)
{
    const json::value* params = message.if_contains("params");
    if (!params || !params->is_object())
        return std::nullopt;
    const json::value* id = params->get_object().if_contains("sessionId");
    if (!id || !id->is_string())
        return std::nullopt;
    return std::string(id->get_string().data(), id->get_string().size());
}

static json::object controlAnswer(const json::object& request, bool isError, const json::value& content)
{
    json::object response{ { "subtype", isError ? "error" : "success" }, { "request_id", request.at("request_id") } };
    response[isError ? "error" : "response"] = content;
    return { { "type", "control_response" }, { "response", response } };
}

json::object answerTo(const json::object& request, const char* kind, const json::value& content, bool withVersion)
{
    if (request.contains("request_id"))
        return controlAnswer(request, std::string_view(kind) == "error", content);
    json::object answer;
    if (withVersion)
        answer["jsonrpc"] = "2.0";
    const json::value* id = request.if_contains("id");
    answer["id"] = id ? *id : json::value(nullptr);
    answer[kind] = content;
    return answer;
}

} // namespace scripted
