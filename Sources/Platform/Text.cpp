#include "Platform/Text.h"

#include "Platform/Utf8.h"

#include <utf8proc.h>

#include <algorithm>

namespace tessarin
{

namespace
{

// What stands at a position of a text: a character or, with `isValid` false, one byte that belongs to none.
struct Scalar {
    utf8proc_int32_t value = 0;
    std::size_t length = 1;
    bool isValid = false;
};

Scalar scalarAt(std::string_view text, std::size_t position)
{
    const std::size_t length = utf8SequenceLength(text, position);
    if (length == 0) {
        return {};
    }
    Scalar scalar{ .value = 0, .length = length, .isValid = true };
    utf8proc_iterate(
        reinterpret_cast<const utf8proc_uint8_t*>(text.data() + position), static_cast<utf8proc_ssize_t>(length), &scalar.value);
    return scalar;
}

bool isContinuationByte(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// What ends before a position. Requires: position > 0, and it is no position inside a well-formed character.
Scalar scalarBefore(std::string_view text, std::size_t position)
{
    std::size_t start = position - 1;
    while (start > 0 && position - start < 4 && isContinuationByte(text[start])) {
        --start;
    }
    const Scalar scalar = scalarAt(text, start);
    return scalar.isValid && scalar.length == position - start ? scalar : Scalar{};
}

bool isWhiteSpace(const Scalar& scalar)
{
    if (!scalar.isValid) {
        return false;
    }
    if ((scalar.value >= 0x09 && scalar.value <= 0x0D) || scalar.value == 0x85) {
        return true;
    }
    const utf8proc_category_t category = utf8proc_category(scalar.value);
    return category == UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_ZL || category == UTF8PROC_CATEGORY_ZP;
}

// Walks over user-perceived characters from a boundary to the next ones.
class CharacterWalk
{
public:
    CharacterWalk(std::string_view text, std::size_t boundary) : m_text(text), m_position(boundary) { }

    [[nodiscard]] std::size_t position() const { return m_position; }

    // Moves behind the character at the position. Requires: it is not at the end.
    void advance()
    {
        Scalar current = scalarAt(m_text, m_position);
        m_position += current.length;
        utf8proc_int32_t state = 0;
        while (m_position < m_text.size()) {
            const Scalar next = scalarAt(m_text, m_position);
            if (!current.isValid || !next.isValid || utf8proc_grapheme_break_stateful(current.value, next.value, &state)) {
                return;
            }
            m_position += next.length;
            current = next;
        }
    }

private:
    std::string_view m_text;
    std::size_t m_position;
};

// Whether characters always end here, whatever comes before and after: the rules of UAX #29 look further back than one code point only
// through marks, joiners, regional indicators and conjoining letters, and none of those is one of these two.
bool isCertainBoundary(const Scalar& before, const Scalar& after)
{
    if (!before.isValid || !after.isValid) {
        return true;
    }
    const auto isIndependent = [](utf8proc_int32_t value) {
        switch (utf8proc_get_property(value)->boundclass) {
        case UTF8PROC_BOUNDCLASS_OTHER:
        case UTF8PROC_BOUNDCLASS_CR:
        case UTF8PROC_BOUNDCLASS_LF:
        case UTF8PROC_BOUNDCLASS_CONTROL:
        case UTF8PROC_BOUNDCLASS_LV:
        case UTF8PROC_BOUNDCLASS_LVT:
        case UTF8PROC_BOUNDCLASS_EXTENDED_PICTOGRAPHIC:
            return true;
        default:
            return false;
        }
    };
    return isIndependent(before.value) && isIndependent(after.value) && !(before.value == '\r' && after.value == '\n');
}

// The last certain boundary at or before `limit`; the beginning of the text is one.
std::size_t certainBoundaryBefore(std::string_view text, std::size_t limit)
{
    std::size_t position = limit;
    while (position > 0) {
        if (!isContinuationByte(text[position]) && isCertainBoundary(scalarBefore(text, position), scalarAt(text, position))) {
            return position;
        }
        --position;
    }
    return 0;
}

std::size_t newlineLengthAt(std::string_view text, std::size_t position)
{
    const std::string_view rest = text.substr(position);
    if (rest[0] >= '\n' && rest[0] <= '\r') {
        return 1;
    }
    if (rest.starts_with("\u0085")) {
        return 2;
    }
    return rest.starts_with("\u2028") || rest.starts_with("\u2029") ? 3 : 0;
}

} // namespace

bool isValidUtf8(std::string_view text)
{
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t length = utf8SequenceLength(text, position);
        if (length == 0) {
            return false;
        }
        position += length;
    }
    return true;
}

std::string_view trimmed(std::string_view text)
{
    std::size_t start = 0;
    while (start < text.size()) {
        const Scalar scalar = scalarAt(text, start);
        if (!isWhiteSpace(scalar)) {
            break;
        }
        start += scalar.length;
    }
    std::size_t end = text.size();
    while (end > start) {
        const Scalar scalar = scalarBefore(text, end);
        if (!isWhiteSpace(scalar)) {
            break;
        }
        end -= scalar.length;
    }
    return text.substr(start, end - start);
}

std::string lowerCased(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const Scalar scalar = scalarAt(text, position);
        const utf8proc_int32_t lower = scalar.isValid ? utf8proc_tolower(scalar.value) : 0;
        if (!scalar.isValid || lower == scalar.value) {
            result.append(text, position, scalar.length);
        } else {
            utf8proc_uint8_t bytes[4];
            const utf8proc_ssize_t length = utf8proc_encode_char(lower, bytes);
            result.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
        }
        position += scalar.length;
    }
    return result;
}

std::string_view firstCharacters(std::string_view text, std::size_t count)
{
    CharacterWalk walk(text, 0);
    for (; count > 0 && walk.position() < text.size(); --count) {
        walk.advance();
    }
    return text.substr(0, walk.position());
}

std::string_view lastCharacters(std::string_view text, std::size_t count)
{
    // Windows from the end to the front, each from a certain boundary, so that only what is needed is looked at, once.
    constexpr std::size_t windowSize = 4096;
    std::vector<std::size_t> boundaries;
    std::size_t end = text.size();
    while (count > 0 && end > 0) {
        const std::size_t start = end > windowSize ? certainBoundaryBefore(text, end - windowSize) : 0;
        boundaries.clear();
        for (CharacterWalk walk(text, start); walk.position() < end; walk.advance()) {
            boundaries.push_back(walk.position());
        }
        if (boundaries.size() >= count) {
            return text.substr(boundaries[boundaries.size() - count]);
        }
        count -= boundaries.size();
        end = start;
    }
    return text.substr(end);
}

std::string_view firstLine(std::string_view text)
{
    for (std::size_t position = 0; position < text.size(); ++position) {
        if (newlineLengthAt(text, position) > 0) {
            return text.substr(0, position);
        }
    }
    return text;
}

bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator)
{
    std::string result;
    for (const std::string& part : parts) {
        if (&part != &parts.front()) {
            result += separator;
        }
        result += part;
    }
    return result;
}

} // namespace tessarin
