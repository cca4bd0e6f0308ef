#include "Updates/ReleaseNotes.h"

#include "Platform/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <utility>

namespace tessarin::ReleaseNotes
{

namespace
{

constexpr std::array<std::string_view, 4> skipped{ "script", "style", "head", "title" };
constexpr std::array<std::string_view, 24> blocks{ "p", "br", "div", "ul", "ol", "li", "h1", "h2", "h3", "h4", "h5", "h6", "hr", "table",
    "tr", "pre", "blockquote", "section", "article", "header", "footer", "dl", "dt", "dd" };

template <class Names>
bool isOneOf(const Names& names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

std::string utf8Of(std::uint32_t point)
{
    const auto tail = [point](unsigned shift) { return static_cast<char>(0x80U | ((point >> shift) & 0x3FU)); };
    if (point < 0x80) {
        return { static_cast<char>(point) };
    }
    if (point < 0x800) {
        return { static_cast<char>(0xC0U | (point >> 6U)), tail(0) };
    }
    if (point < 0x10000) {
        return { static_cast<char>(0xE0U | (point >> 12U)), tail(6), tail(0) };
    }
    return { static_cast<char>(0xF0U | (point >> 18U)), tail(12), tail(6), tail(0) };
}

// How long the character at the end is, in bytes, when it acts on what is shown: a control character of two bytes (U+0080 to U+009F), or
// one that turns the direction of a line (Bidi_Control of Unicode). 0 for any other.
std::size_t actingLength(std::string_view text)
{
    const auto isBetween = [text](std::string_view first, std::string_view last) {
        const std::string_view end = text.substr(text.size() - std::min(first.size(), text.size()));
        return end >= first && end <= last;
    };
    if (isBetween("\u0080", "\u009F") || isBetween("\u061C", "\u061C")) {
        return 2;
    }
    const bool turns = isBetween("\u200E", "\u200F") || isBetween("\u202A", "\u202E") || isBetween("\u2066", "\u2069");
    return turns ? 3 : 0;
}

// What stands between "&" and ";".
std::optional<std::string> resolved(std::string_view name)
{
    constexpr std::array<std::pair<std::string_view, std::string_view>, 6> named{ { { "amp", "&" }, { "lt", "<" }, { "gt", ">" },
        { "quot", "\"" }, { "apos", "'" }, { "nbsp", " " } } };
    for (const auto& [known, text] : named) {
        if (name == known) {
            return std::string(text);
        }
    }
    if (name.size() < 2 || name.front() != '#') {
        return std::nullopt;
    }
    const bool isHexadecimal = name[1] == 'x' || name[1] == 'X';
    const std::string_view digits = name.substr(isHexadecimal ? 2 : 1);
    std::uint32_t point = 0;
    const auto [stopped, error] = std::from_chars(digits.data(), digits.data() + digits.size(), point, isHexadecimal ? 16 : 10);
    const bool isCharacter = point != 0 && point <= 0x10FFFF && (point < 0xD800 || point > 0xDFFF);
    if (digits.empty() || error != std::errc() || stopped != digits.data() + digits.size() || !isCharacter) {
        return std::nullopt;
    }
    return utf8Of(point);
}

// Reads the description once from its beginning to its end.
class Reader
{
public:
    explicit Reader(std::string_view description) : m_rest(description) { }

    std::string read()
    {
        m_hasBlocks = hasBlock(m_rest);
        while (!m_rest.empty()) {
            if (m_rest.front() == '<' && isMarkup(m_rest)) {
                readMarkup();
            } else if (m_rest.front() == '&') {
                readEntity();
            } else {
                append(m_rest.substr(0, 1));
                m_rest.remove_prefix(1);
            }
        }
        return std::move(m_text);
    }

private:
    // A "<" before anything else is one that was meant.
    static bool isMarkup(std::string_view text)
    {
        return text.size() > 1 && (isLetter(text[1]) || text[1] == '/' || text[1] == '!' || text[1] == '?');
    }
    static std::string nameOf(std::string_view tag)
    {
        tag.remove_prefix(tag.size() > 1 && tag[1] == '/' ? 2 : 1);
        const auto* const end = std::find_if(tag.begin(), tag.end(), [](char c) { return !isLetter(c) && !(c >= '0' && c <= '9'); });
        return lowerCased(tag.substr(0, static_cast<std::size_t>(end - tag.begin())));
    }
    static bool hasBlock(std::string_view text)
    {
        for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
            constexpr std::size_t longestName = 12;
            if (isOneOf(blocks, nameOf(text.substr(at, longestName)))) {
                return true;
            }
        }
        return false;
    }

    void readMarkup()
    {
        if (m_rest.substr(0, 4) == "<!--") {
            dropThrough("-->");
            return;
        }
        const bool isEnd = m_rest[1] == '/';
        const std::string name = nameOf(m_rest);
        dropThrough(">");
        if (!isEnd && isOneOf(skipped, name)) {
            dropContent(name);
        } else if (name == "li" && !isEnd) {
            breakLine(1);
            m_text += "• ";
        } else if (name == "br") {
            breakLine(std::min(lineBreaks() + 1, mostBreaks));
        } else if (isOneOf(blocks, name)) {
            const bool standsApart = name == "p" || (name.size() == 2 && name[0] == 'h');
            breakLine(standsApart ? mostBreaks : 1);
        }
    }
    // With the end itself, or with all when there is none.
    void dropThrough(std::string_view end)
    {
        const auto at = m_rest.find(end);
        m_rest.remove_prefix(at == std::string_view::npos ? m_rest.size() : at + end.size());
    }
    void dropContent(std::string_view name)
    {
        for (dropUpTo("</"); !m_rest.empty() && nameOf(m_rest) != name; dropUpTo("</")) {
            m_rest.remove_prefix(2);
        }
        dropThrough(">");
    }
    void dropUpTo(std::string_view end) { m_rest.remove_prefix(std::min(m_rest.find(end), m_rest.size())); }

    void readEntity()
    {
        constexpr std::size_t longestName = 10;
        const auto end = m_rest.substr(0, longestName).find(';');
        const auto text = end == std::string_view::npos ? std::nullopt : resolved(m_rest.substr(1, end - 1));
        append(text ? *text : "&");
        m_rest.remove_prefix(text ? end + 1 : 1);
    }

    void append(std::string_view text)
    {
        const auto first = static_cast<unsigned char>(text.front());
        if (m_hasBlocks && isBlank(text.front())) {
            // Blanks and line breaks of HTML are one blank, and none at the beginning of a line.
            if (!m_text.empty() && m_text.back() != '\n' && m_text.back() != ' ') {
                m_text += ' ';
            }
        } else if (first >= ' ' ? first != 0x7F : isBlank(text.front()) && text.front() != '\r') {
            m_text += text;
            // Looked for in what was read, so that what goes does not bring together another one.
            m_text.resize(m_text.size() - actingLength(m_text));
        }
    }
    // So that what follows stands behind at least so many line breaks.
    void breakLine(std::size_t breaks)
    {
        while (!m_text.empty() && m_text.back() == ' ') {
            m_text.pop_back();
        }
        while (!m_text.empty() && lineBreaks() < breaks) {
            m_text += '\n';
        }
    }
    // At the end of the text; never more than the most in a text with blocks.
    [[nodiscard]] std::size_t lineBreaks() const
    {
        std::size_t count = 0;
        while (count < std::min(mostBreaks, m_text.size()) && m_text[m_text.size() - 1 - count] == '\n') {
            ++count;
        }
        return count;
    }

    static constexpr std::size_t mostBreaks = 2;
    std::string_view m_rest;
    std::string m_text;
    bool m_hasBlocks = false;
};

} // namespace

std::string plainText(std::string_view description)
{
    const std::string read = Reader(description).read();
    const std::string_view text = trimmed(read);
    const std::string_view shown = firstCharacters(text, characterLimit);
    return shown.size() == text.size() ? std::string(text) : std::string(shown) + "…";
}

} // namespace tessarin::ReleaseNotes
