#include "Imagine/ImagineHistory.h"

#include "Platform/Json.h"
#include "Platform/JsonText.h"

#include <cmath>

namespace tessarin
{

namespace
{

namespace keys
{
constexpr const char* id = "id";
constexpr const char* kind = "kind";
constexpr const char* prompt = "prompt";
constexpr const char* localPath = "localPath";
constexpr const char* fileName = "fileName";
constexpr const char* createdAt = "createdAt";
} // namespace keys

void appendText(std::string& out, char separator, const char* key, std::string_view text)
{
    out += separator;
    appendJsonText(out, key);
    out += ':';
    appendJsonText(out, text);
}

bool appendItem(std::string& out, const ImagineItem& item)
{
    if (!std::isfinite(item.createdAt.secondsSince2001)) {
        return false;
    }
    appendText(out, '{', keys::id, item.id.text());
    appendText(out, ',', keys::kind, rawText(item.kind));
    appendText(out, ',', keys::prompt, item.prompt);
    appendText(out, ',', keys::localPath, item.localPath);
    appendText(out, ',', keys::fileName, item.fileName);
    out += ',';
    appendJsonText(out, keys::createdAt);
    out += ':';
    appendJsonNumber(out, item.createdAt.secondsSince2001);
    out += '}';
    return true;
}

std::optional<ImagineItem> decodeItem(const Json& value)
{
    const JsonObject* object = value.if_object();
    if (!object) {
        return std::nullopt;
    }
    const auto id = Uuid::parse(textAt(*object, keys::id).value_or(""));
    const auto kind = imagineKindFromRawText(textAt(*object, keys::kind).value_or(""));
    const auto prompt = textAt(*object, keys::prompt);
    const auto localPath = textAt(*object, keys::localPath);
    const auto fileName = textAt(*object, keys::fileName);
    const auto createdAt = numberAt(*object, keys::createdAt);
    if (!id || !kind || !prompt || !localPath || !fileName || !createdAt) {
        return std::nullopt;
    }
    return ImagineItem{ .id = *id,
        .kind = *kind,
        .prompt = std::string(*prompt),
        .localPath = std::string(*localPath),
        .fileName = std::string(*fileName),
        .createdAt = { *createdAt } };
}

} // namespace

std::optional<std::string> encodeImagineHistory(const std::vector<ImagineItem>& items)
{
    std::string out = "[";
    for (const ImagineItem& item : items) {
        out += &item == &items.front() ? "" : ",";
        if (!appendItem(out, item)) {
            return std::nullopt;
        }
    }
    out += ']';
    return out;
}

std::optional<std::vector<ImagineItem>> decodeImagineHistory(std::string_view json)
{
    const std::optional<Json> value = parseJson(json);
    const JsonArray* array = value ? value->if_array() : nullptr;
    if (!array) {
        return std::nullopt;
    }
    std::vector<ImagineItem> items;
    items.reserve(array->size());
    for (const Json& element : *array) {
        auto item = decodeItem(element);
        if (!item) {
            return std::nullopt;
        }
        items.push_back(std::move(*item));
    }
    return items;
}

} // namespace tessarin
