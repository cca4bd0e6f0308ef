#include "Services/UpdateEnvelope.h"

namespace tessarin
{

namespace
{

constexpr std::size_t depthOfTheUpdate = 2; // inside the message and its `params`
constexpr std::size_t longestStart = 4096; // bytes; what has more around the update gains nothing

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

bool endsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Whether a value between the two is the update of a notification. A number that shows up there with its own digits was read as one value,
// so any other value may stand in its place: it can change neither what is around it nor what is read of that.
bool isEnvelope(const std::string& start, const std::string& end)
{
    const auto message = parseJson(start + "0" + end);
    const JsonObject* object = message ? message->if_object() : nullptr;
    const JsonObject* params = object ? objectAt(*object, "params") : nullptr;
    const Json* update = params ? params->if_contains("update") : nullptr;
    return update && *update == 0 && textAt(*object, "method") == "session/update" && !object->contains("id");
}

// From the second to last brace on, which are those of `params` and of the message where the update comes last.
std::string_view closingBraces(std::string_view line)
{
    const std::size_t last = line.rfind('}');
    const std::size_t second = last == 0 || last == std::string_view::npos ? std::string_view::npos : line.rfind('}', last - 1);
    return second == std::string_view::npos ? std::string_view() : line.substr(second);
}

} // namespace

std::optional<SessionUpdate> UpdateEnvelope::updateIn(std::string_view line, const boost::json::storage_ptr& storage) const
{
    if (m_start.empty() || line.size() < m_start.size() + m_end.size() || !startsWith(line, m_start) || !endsWith(line, m_end))
        return std::nullopt;
    const std::string_view inside = line.substr(m_start.size(), line.size() - m_start.size() - m_end.size());
    auto update = parseJson(inside, storage, maximumJsonDepth - depthOfTheUpdate);
    if (!update || !update->is_object())
        return std::nullopt;
    return std::move(update->get_object());
}

void UpdateEnvelope::learn(std::string_view line)
{
    constexpr std::string_view key = "\"update\":";
    const std::size_t place = line.find(key);
    if (m_chancesToLearn == 0 || place > longestStart)
        return;
    --m_chancesToLearn;
    std::string start(line.substr(0, place + key.size()));
    std::string end(closingBraces(line.substr(place)));
    m_start.clear();
    if (isEnvelope(start, end)) {
        m_start = std::move(start);
        m_end = std::move(end);
    }
}

} // namespace tessarin
