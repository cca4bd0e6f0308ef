#include "Services/LineEnvelope.h"

#include <boost/algorithm/string/split.hpp>

#include <algorithm>

namespace tessarin
{

namespace
{

constexpr std::size_t longestStart = 4096; // bytes; what has more around the value gains nothing
constexpr int chances = 16; // envelopes that may be learned without one line read by them

// So many digits, the first not a zero, are a number that fits, whatever they are.
constexpr std::size_t longestNumber = 18;

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

bool cutSuffix(std::string_view& text, std::string_view suffix)
{
    if (text.size() < suffix.size() || text.substr(text.size() - suffix.size()) != suffix)
        return false;
    text.remove_suffix(suffix.size());
    return true;
}

// Where the JSON value ends with which a valid text begins.
std::size_t endOfValue(std::string_view text)
{
    bool isInText = false;
    std::size_t depth = 0;
    for (std::size_t place = 0; place < text.size(); ++place) {
        const char character = text[place];
        if (isInText && character == '\\')
            ++place;
        else if (character == '"')
            isInText = !isInText;
        else if (!isInText && (character == '{' || character == '['))
            ++depth;
        else if (!isInText && depth > 0 && (character == '}' || character == ']'))
            --depth;
        else if (!isInText && depth == 0 && std::string_view(",}] \t\r").find(character) != std::string_view::npos)
            return place;
        if (!isInText && depth == 0 && (character == '"' || character == '}' || character == ']'))
            return place + 1;
    }
    return text.size();
}

// Where the value of a key begins that ends at `place`.
std::size_t startOfValue(std::string_view text, std::size_t place)
{
    return std::min(text.find_first_not_of(" \t", place), text.size());
}

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool isWordCharacter(char character)
{
    return isDigit(character) || (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || character == '-'
        || character == '_';
}

template <class Predicate>
std::size_t lengthOfSuffix(std::string_view text, Predicate belongs)
{
    return static_cast<std::size_t>(std::find_if_not(text.rbegin(), text.rend(), belongs) - text.rbegin());
}

// Takes a whole number or a plain word in quotes from the end. Any of them may stand where one stood: the line stays what it is.
bool cutPlainValue(std::string_view& text)
{
    if (cutSuffix(text, "\"")) {
        text.remove_suffix(lengthOfSuffix(text, isWordCharacter));
        return cutSuffix(text, "\"");
    }
    const std::size_t length = lengthOfSuffix(text, isDigit);
    const bool isNumber = length > 0 && length <= longestNumber && text[text.size() - length] != '0';
    text.remove_suffix(length);
    return isNumber;
}

} // namespace

LineEnvelope::LineEnvelope(std::string_view path, std::string_view unreadKey) : m_unreadKey(unreadKey), m_chancesToLearn(chances)
{
    boost::algorithm::split(m_path, path, [](char character) { return character == '.'; });
}

std::optional<Json> LineEnvelope::valueIn(std::string_view line, const boost::json::storage_ptr& storage)
{
    if (m_start.empty() || !startsWith(line, m_start))
        return std::nullopt;
    line.remove_prefix(m_start.size());
    if (!cutEnd(line))
        return std::nullopt;
    auto value = parseJson(line, storage, maximumJsonDepth - m_path.size());
    if (value)
        m_chancesToLearn = chances;
    return value;
}

bool LineEnvelope::cutEnd(std::string_view& text) const
{
    return (!m_rest || (cutSuffix(text, *m_rest) && cutPlainValue(text))) && cutSuffix(text, m_end);
}

void LineEnvelope::learn(std::string_view line)
{
    const std::string key = '"' + m_path.back() + "\":";
    const std::size_t place = line.find(key);
    if (m_chancesToLearn == 0 || place > longestStart)
        return;
    --m_chancesToLearn;
    m_start = line.substr(0, startOfValue(line, place + key.size()));
    line.remove_prefix(m_start.size());
    splitEnd(line.substr(endOfValue(line)));
    if (!isValueAtPath())
        m_start.clear();
}

void LineEnvelope::splitEnd(std::string_view end)
{
    m_end = end;
    m_rest.reset();
    const std::string key = '"' + m_unreadKey + "\":";
    const std::size_t place = m_unreadKey.empty() ? std::string_view::npos : end.find(key);
    if (place == std::string_view::npos)
        return;
    const std::string_view rest = end.substr(startOfValue(end, place + key.size()));
    const std::size_t length = endOfValue(rest);
    std::string_view beforeValue = end.substr(0, end.size() - rest.size() + length);
    if (cutPlainValue(beforeValue) && beforeValue.size() == end.size() - rest.size()) {
        m_rest = rest.substr(length);
        m_end = beforeValue;
    }
}

// Whether what stands between start and end is the value at the path and nothing else. A number that shows up there with its own digits
// was read as one value, so any other value may stand in its place: it can change neither what is around it nor what is read of that.
bool LineEnvelope::isValueAtPath() const
{
    const std::string end = m_rest ? m_end + "1" + *m_rest : m_end;
    const auto message = parseJson(m_start + "0" + end);
    const Json* value = message ? &*message : nullptr;
    for (const std::string& key : m_path) {
        const JsonObject* object = value ? value->if_object() : nullptr;
        value = object ? object->if_contains(key) : nullptr;
    }
    return value && *value == 0;
}

} // namespace tessarin
