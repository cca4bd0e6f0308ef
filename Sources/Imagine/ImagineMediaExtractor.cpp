#include "Imagine/ImagineMediaExtractor.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tessarin::ImagineMediaExtractor
{

namespace
{

constexpr std::array<std::string_view, 9> extensions{ "jpg", "jpeg", "png", "webp", "gif", "mp4", "mov", "m4v", "webm" };

constexpr char asciiLower(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

// How long the extension at the front of the text is, 0 for none. No extension begins another, so there is at most one.
std::size_t extensionLength(std::string_view text)
{
    for (const std::string_view extension : extensions) {
        const bool isLongEnough = text.size() >= extension.size();
        if (isLongEnough && std::equal(extension.begin(), extension.end(), text.begin(), [](char wanted, char found) {
                return wanted == asciiLower(found);
            })) {
            return extension.size();
        }
    }
    return 0;
}

// Where the path that begins with the slash ends, behind its extension; or, with `isPath` false, how far there is none.
struct End {
    std::size_t position = 0;
    bool isPath = false;
};

End endOfPath(std::string_view text, std::size_t slash)
{
    constexpr std::string_view endsOrDot = "\n\r\"'.";
    std::size_t position = text.find_first_of(endsOrDot, slash + 1);
    while (position != std::string_view::npos && text[position] == '.') {
        const std::size_t length = extensionLength(text.substr(position + 1));
        // At least one character stands between the slash and the dot.
        if (length > 0 && position > slash + 1) {
            return { .position = position + 1 + length, .isPath = true };
        }
        position = text.find_first_of(endsOrDot, position + 1);
    }
    return { .position = std::min(position, text.size()) };
}

// Each character is passed once: where no path begins with a slash, none begins with a later one before the end of that stretch either,
// because it would end at a dot that the earlier slash had for its own. A match needs no trimming: it begins with a slash and ends with a
// letter or digit.
void extract(std::string_view text, std::vector<std::string>& found)
{
    std::size_t slash = text.find('/');
    while (slash != std::string_view::npos) {
        const End end = endOfPath(text, slash);
        if (end.isPath) {
            found.emplace_back(text.substr(slash, end.position - slash));
        }
        slash = text.find('/', end.position);
    }
}

// Arrays and objects only: a lone text, number or word is no document for the reader that this stands for.
bool mayBeDocument(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t\n\r");
    return first != std::string_view::npos && (text[first] == '{' || text[first] == '[');
}

void collect(const Json& value, int textDepth, std::vector<std::string>& found);

void collectFromText(std::string_view text, int textDepth, std::vector<std::string>& found)
{
    extract(text, found);
    if (textDepth >= textDepthLimit || !mayBeDocument(text)) {
        return;
    }
    if (const std::optional<Json> document = parseJson(text)) {
        collect(*document, textDepth + 1, found);
    }
}

// The values of an update are walked without recursion, so that its depth needs no stack.
void collectPending(std::vector<const Json*> pending, int textDepth, std::vector<std::string>& found)
{
    while (!pending.empty()) {
        const Json& value = *pending.back();
        pending.pop_back();
        if (const JsonObject* object = value.if_object()) {
            for (const auto& member : *object) {
                pending.push_back(&member.value());
            }
        } else if (const JsonArray* array = value.if_array()) {
            for (const Json& element : *array) {
                pending.push_back(&element);
            }
        } else if (const boost::json::string* text = value.if_string()) {
            collectFromText({ text->data(), text->size() }, textDepth, found);
        }
    }
}

void collect(const Json& value, int textDepth, std::vector<std::string>& found)
{
    collectPending({ &value }, textDepth, found);
}

std::vector<std::string> sortedOnce(std::vector<std::string> found)
{
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

} // namespace

std::vector<std::string> paths(const Json& value)
{
    std::vector<std::string> found;
    collect(value, 0, found);
    return sortedOnce(std::move(found));
}

std::vector<std::string> paths(const JsonObject& update)
{
    std::vector<const Json*> values;
    for (const auto& member : update) {
        values.push_back(&member.value());
    }
    std::vector<std::string> found;
    collectPending(std::move(values), 0, found);
    return sortedOnce(std::move(found));
}

} // namespace tessarin::ImagineMediaExtractor
