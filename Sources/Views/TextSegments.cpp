#include "Views/TextSegments.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tessarin
{

namespace
{

std::size_t indentOf(std::string_view line)
{
    std::size_t columns = 0;
    for (const char character : line) {
        if (character == ' ') {
            ++columns;
        } else if (character == '\t') {
            columns += 4 - columns % 4;
        } else {
            break;
        }
    }
    return columns;
}

bool isBlank(std::string_view line)
{
    return line.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

struct FenceMark {
    char character = 0;
    std::size_t length = 0;
    std::string_view info; // behind the mark
};

// CommonMark 0.30, 4.5: at least three backticks or tildes; the info string of backticks has no backtick.
std::optional<FenceMark> fenceMark(std::string_view line)
{
    const std::size_t begin = line.find_first_not_of(" \t");
    if (begin == std::string_view::npos || (line[begin] != '`' && line[begin] != '~')) {
        return std::nullopt;
    }
    const char character = line[begin];
    const std::size_t end = std::min(line.find_first_not_of(character, begin), line.size());
    const std::string_view info = line.substr(end);
    if (end - begin < 3 || (character == '`' && info.find('`') != std::string_view::npos)) {
        return std::nullopt;
    }
    return FenceMark{ character, end - begin, info };
}

bool isBulletItem(std::string_view line)
{
    return line.size() > 1 && (line[0] == '-' || line[0] == '*' || line[0] == '+') && (line[1] == ' ' || line[1] == '\t');
}

// The delimiter behind the number of an ordered item at the left edge, 0 for another line.
char orderedDelimiter(std::string_view line)
{
    constexpr std::size_t mostDigits = 9;
    const std::size_t digits = std::min(line.find_first_not_of("0123456789"), line.size());
    if (digits == 0 || digits > mostDigits || digits + 1 >= line.size()) {
        return 0;
    }
    const bool isDelimited = (line[digits] == '.' || line[digits] == ')') && (line[digits + 1] == ' ' || line[digits + 1] == '\t');
    return isDelimited ? line[digits] : '\0';
}

bool isContinuationByte(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U;
}

} // namespace

void TextSegments::scan(std::string_view text)
{
    cutBehindLongLine(text);
    if (m_format == Format::plain) {
        skipFullSegments(text);
    }
    for (std::size_t end = text.find('\n', m_scanned); end != std::string_view::npos; end = text.find('\n', m_scanned)) {
        const std::size_t begin = m_scanned;
        m_scanned = end + 1;
        if (m_scanned - m_begins.back() > openByteLimit && begin > m_begins.back() && begin != m_fenceBegin) {
            cutByForce(begin);
        }
        cutLongLine(text.substr(0, m_scanned), begin);
        m_followsLongLine = m_begins.back() > begin && (m_format == Format::plain || m_fence.character != 0);
        if (m_format == Format::markdown) {
            scanLine(text.substr(begin, m_scanned - begin), begin);
        }
        cutBehindLongLine(text);
    }
    cutLongLine(text, m_scanned);
}

// A plain text needs no look at each of its lines: it is cut behind the last one that fits. What is left is enough for the line behind the
// cut to be one that does not. A line that is too long leaves one of the parts without an end of a line.
void TextSegments::skipFullSegments(std::string_view text)
{
    while (text.size() - m_begins.back() > 2 * openByteLimit && m_begins.back() <= m_scanned) {
        const std::size_t begin = m_begins.back();
        std::size_t end = 0;
        for (std::size_t part = 0; part < openByteLimit; part += lineByteLimit) {
            const std::size_t last = text.substr(begin + part, lineByteLimit).rfind('\n');
            if (last == std::string_view::npos) {
                return;
            }
            end = begin + part + last + 1;
        }
        m_scanned = end;
        cutByForce(m_scanned);
    }
}

// An endless line is laid out piece by piece as well. The first one of a fence stays with the opening, which would be a block of no code.
void TextSegments::cutLongLine(std::string_view text, std::size_t lineBegin)
{
    const auto isTooLong = [&] { return text.size() - std::max(m_begins.back(), lineBegin) > 2 * lineByteLimit; };
    if (isTooLong() && lineBegin > m_begins.back() && lineBegin != m_fenceBegin) {
        cutByForce(lineBegin);
    }
    while (isTooLong()) {
        const std::size_t begin = std::max(m_begins.back(), lineBegin);
        std::size_t at = begin + lineByteLimit;
        if (const std::size_t blank = text.substr(begin, lineByteLimit).rfind(' '); blank != std::string_view::npos && blank > 0) {
            at = begin + blank + 1;
        }
        while (at < text.size() && isContinuationByte(text[at])) {
            ++at;
        }
        cutByForce(at);
    }
}

// Not before there is something behind it.
void TextSegments::cutBehindLongLine(std::string_view text)
{
    if (m_followsLongLine && text.size() > m_scanned) {
        m_followsLongLine = false;
        cutByForce(m_scanned);
    }
}

void TextSegments::scanLine(std::string_view line, std::size_t begin)
{
    if (isBlank(line)) {
        m_followsEmptyLine = true;
        return;
    }
    const bool followsEmptyLine = std::exchange(m_followsEmptyLine, false);
    const std::size_t indent = indentOf(line);
    if (m_fence.isInList && indent == 0) {
        m_fence = Fence(); // the item ends here, and the fence with it
    }
    if (m_fence.character != 0) {
        scanFenced(line);
        return;
    }
    if (indent == 0) {
        scanAtLeftEdge(line, begin, followsEmptyLine);
    }
    constexpr std::size_t leastListIndent = 2;
    constexpr std::size_t codeIndent = 4;
    const bool isInList = m_isInList && indent >= leastListIndent;
    const auto mark = fenceMark(line);
    if (mark && (isInList || indent < codeIndent)) {
        m_fence = { mark->character, mark->length, isInList, std::string(line.substr(line.find(mark->character))) };
        m_fenceBegin = begin + line.size();
    }
}

void TextSegments::scanFenced(std::string_view line)
{
    const auto mark = fenceMark(line);
    if (mark && mark->character == m_fence.character && mark->length >= m_fence.length && isBlank(mark->info)) {
        m_fence = Fence();
    }
}

void TextSegments::scanAtLeftEdge(std::string_view line, std::size_t begin, bool followsEmptyLine)
{
    const char ordered = orderedDelimiter(line);
    const bool goesOnCounting = ordered != 0 && ordered == m_orderedDelimiter;
    if (followsEmptyLine && !goesOnCounting) {
        cut(begin);
    }
    if (ordered != 0 || isBulletItem(line)) {
        m_isInList = true;
        m_orderedDelimiter = ordered;
    }
    if (line[0] == '[') {
        noteDefinition(line);
    }
}

// CommonMark 0.30, 4.7, as agents write it: `[label]: target` on one line.
void TextSegments::noteDefinition(std::string_view line)
{
    const std::size_t close = line.find("]:");
    if (close != std::string_view::npos && close > 1 && !isBlank(line.substr(close + 2))
        && m_definitions.size() + line.size() <= definitionByteLimit) {
        m_definitions += line;
    }
}

void TextSegments::cut(std::size_t at)
{
    m_isInList = false;
    m_orderedDelimiter = 0;
    if (at > m_begins.back()) {
        m_begins.push_back(at);
    }
}

void TextSegments::cutByForce(std::size_t at)
{
    if (!m_fence.opening.empty()) {
        m_fenceOpenings[m_begins.size()] = m_fence.opening;
    }
    m_begins.push_back(at);
}

std::string_view TextSegments::fenceOpening(std::size_t segment) const
{
    const auto found = m_fenceOpenings.find(segment);
    return found == m_fenceOpenings.end() ? std::string_view() : std::string_view(found->second);
}

} // namespace tessarin
