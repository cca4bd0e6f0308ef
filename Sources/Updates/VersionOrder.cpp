#include "Updates/VersionOrder.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tessarin
{

namespace
{

// In the order in which they win against each other at the same place. That one order over all of them, the end among them, is what
// makes the whole comparison transitive.
enum class Kind { word, end, otherSeparator, period, number };

struct Token {
    Kind kind = Kind::end;
    std::string_view text;
};

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

// Not by the locale's idea of letters.
Kind kindOf(char character)
{
    if (isDigit(character)) {
        return Kind::number;
    }
    const auto code = static_cast<unsigned char>(character);
    return isLetter(character) || code >= 0x80 ? Kind::word : Kind::otherSeparator;
}

// Takes the longest run of one kind from the front.
Token takeToken(std::string_view& text)
{
    const Kind kind = kindOf(text.front());
    const auto end = std::find_if(text.begin(), text.end(), [kind](char character) { return kindOf(character) != kind; });
    const Token token{ kind, text.substr(0, static_cast<std::size_t>(end - text.begin())) };
    text.remove_prefix(token.text.size());
    return token.text == "." ? Token{ Kind::period, token.text } : token;
}

bool isSeparator(Kind kind)
{
    return kind == Kind::period || kind == Kind::otherSeparator;
}

std::string_view withoutLeadingZeros(std::string_view digits)
{
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

// Without the separators that only stand before a word or at the end: they say nothing.
std::vector<Token> tokensOf(std::string_view version)
{
    std::vector<Token> tokens;
    while (!version.empty()) {
        const Token token = takeToken(version);
        if (token.kind == Kind::word && !tokens.empty() && isSeparator(tokens.back().kind)) {
            tokens.pop_back();
        }
        tokens.push_back(token);
    }
    if (!tokens.empty() && isSeparator(tokens.back().kind)) {
        tokens.pop_back();
    }
    return tokens;
}

// 1.0.0b2 becomes 1b2.
void removeTrailingZeros(std::vector<Token>& tokens)
{
    const auto isRelease = [](const Token& token) { return token.kind == Kind::number || token.kind == Kind::period; };
    const auto end = std::find_if_not(tokens.begin(), tokens.end(), isRelease); // behind a number: a period has one behind it
    auto first = end;
    while (first - tokens.begin() >= 3 && withoutLeadingZeros((first - 1)->text).empty()) {
        first -= 2;
    }
    tokens.erase(first, end);
}

std::strong_ordering compareTokens(const Token& first, const Token& second)
{
    if (first.kind != second.kind) {
        return first.kind <=> second.kind;
    }
    if (first.kind == Kind::word) {
        return first.text <=> second.text;
    }
    if (first.kind != Kind::number) {
        return std::strong_ordering::equal; // which separator it is does not matter
    }
    const std::string_view digits = withoutLeadingZeros(first.text);
    const std::string_view others = withoutLeadingZeros(second.text);
    const auto sizes = digits.size() <=> others.size();
    return sizes != std::strong_ordering::equal ? sizes : digits <=> others;
}

} // namespace

std::strong_ordering compareVersions(std::string_view first, std::string_view second)
{
    std::vector<Token> tokens = tokensOf(first);
    std::vector<Token> others = tokensOf(second);
    removeTrailingZeros(tokens);
    removeTrailingZeros(others);
    for (std::size_t place = 0; place < std::max(tokens.size(), others.size()); ++place) {
        const Token token = place < tokens.size() ? tokens[place] : Token{};
        const Token other = place < others.size() ? others[place] : Token{};
        if (const auto order = compareTokens(token, other); order != std::strong_ordering::equal) {
            return order;
        }
    }
    return std::strong_ordering::equal;
}

} // namespace tessarin
