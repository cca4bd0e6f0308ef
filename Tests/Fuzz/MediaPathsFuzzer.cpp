#include "FuzzTarget.h"
#include "Imagine/ImagineMediaExtractor.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <functional>
#include <iterator>

namespace tessarin
{
namespace
{

using Paths = std::vector<std::string>;

bool extensionBeginsAt(std::string_view text, std::size_t position, std::string_view extension)
{
    const std::string_view found = text.substr(position, extension.size());
    return found.size() == extension.size() && std::equal(found.begin(), found.end(), extension.begin(), [](char character, char wanted) {
        return std::tolower(static_cast<unsigned char>(character)) == wanted;
    });
}

// Where a match that begins at `start` ends, found by trying one end after the other, as the pattern reads; 0 for none.
std::size_t endOfMatch(std::string_view text, std::size_t start)
{
    constexpr std::array<std::string_view, 9> extensions{ "jpeg", "jpg", "png", "webp", "gif", "mp4", "mov", "m4v", "webm" };
    constexpr std::string_view excluded = "\n\r\"'";
    if (text[start] != '/') {
        return 0;
    }
    for (std::size_t dot = start + 2; dot < text.size() && excluded.find(text[dot - 1]) == std::string_view::npos; ++dot) {
        for (const std::string_view extension : extensions) {
            if (text[dot] == '.' && extensionBeginsAt(text, dot + 1, extension)) {
                return dot + 1 + extension.size();
            }
        }
    }
    return 0;
}

Paths matches(std::string_view text)
{
    Paths found;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = endOfMatch(text, start);
        if (end > 0) {
            found.emplace_back(text.substr(start, end - start));
        }
        start = std::max(end, start + 1);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

bool includes(const Paths& all, const Paths& some)
{
    return std::includes(all.begin(), all.end(), some.begin(), some.end());
}

Paths both(const Paths& first, const Paths& second)
{
    Paths all;
    std::set_union(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(all));
    return all;
}

void requireMatches(std::string_view text, const std::optional<Json>& document)
{
    // Behind a letter a text is no document, and the letter takes part in no match.
    const Paths expected = matches(text);
    fuzzRequire(ImagineMediaExtractor::paths(Json("x" + std::string(text))) == expected, "a text gives what the pattern matches in it");
    const Paths found = ImagineMediaExtractor::paths(Json(std::string(text)));
    fuzzRequire(includes(found, expected), "a text that is a document gives what it gives as a text");
    const Paths ofDocument = document ? ImagineMediaExtractor::paths(*document) : Paths();
    fuzzRequire(includes(both(expected, ofDocument), found), "it gives besides only what its value gives");
}

} // namespace
} // namespace tessarin

const tessarin::LongTextInput tessarin::longTextInput{ R"(["/)", R"(.png"])" };

// Any text gives what the pattern matches in it; any value gives sorted paths, each once.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    constexpr std::size_t slowLimit = 4096; // trying each end at each start is slow
    const std::string_view text = asText(data, size);
    const std::optional<Json> document = parseJson(text);
    if (document) {
        const Paths found = ImagineMediaExtractor::paths(*document);
        fuzzRequire(std::adjacent_find(found.begin(), found.end(), std::greater_equal<>()) == found.end(), "paths ascend, each once");
        const JsonObject* object = document->if_object();
        fuzzRequire(!object || ImagineMediaExtractor::paths(*object) == found, "an update is a value");
    }
    if (size <= slowLimit) {
        requireMatches(text, document);
    } else {
        const Paths found = ImagineMediaExtractor::paths(Json(std::string(text)));
        fuzzRequire(found.size() <= size, "no more paths than characters");
    }
    return 0;
}
