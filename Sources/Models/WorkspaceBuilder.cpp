#include "Models/WorkspaceBuilder.h"

#include "Models/WorkspaceKeys.h"

#include <array>
#include <cassert>
#include <span>

namespace tessarin
{

namespace
{

namespace keys = WorkspaceKeys;
using Field = WorkspaceBuilder::Field;
using Place = WorkspaceBuilder::Place;

constexpr std::uint32_t bit(Field field)
{
    return std::uint32_t{ 1 } << static_cast<unsigned>(field);
}

struct KnownKey {
    std::string_view name;
    Field field;
    bool isRequired;
};

constexpr std::array workspaceKeys{
    KnownKey{ keys::id, Field::id, true },
    KnownKey{ keys::name, Field::name, true },
    KnownKey{ keys::path, Field::path, true },
    KnownKey{ keys::threads, Field::threads, true },
};
constexpr std::array threadKeys{
    KnownKey{ keys::id, Field::id, true },
    KnownKey{ keys::title, Field::title, true },
    KnownKey{ keys::sessionId, Field::sessionId, false },
    KnownKey{ keys::providerSessionIDs, Field::providerSessionIDs, false },
    KnownKey{ keys::lastProvider, Field::lastProvider, false },
    KnownKey{ keys::entries, Field::entries, true },
    KnownKey{ keys::createdAt, Field::createdAt, true },
    KnownKey{ keys::updatedAt, Field::updatedAt, true },
};
constexpr std::array entryKeys{
    KnownKey{ keys::id, Field::id, true },
    KnownKey{ keys::kind, Field::kind, true },
    KnownKey{ keys::text, Field::text, true },
    KnownKey{ keys::title, Field::title, false },
    KnownKey{ keys::status, Field::status, false },
    KnownKey{ keys::provider, Field::provider, false },
    KnownKey{ keys::createdAt, Field::createdAt, true },
};

constexpr std::span<const KnownKey> knownKeys(Place place)
{
    switch (place) {
    case Place::workspace:
        return workspaceKeys;
    case Place::thread:
        return threadKeys;
    case Place::entry:
        return entryKeys;
    case Place::document:
    case Place::workspaces:
    case Place::threads:
    case Place::sessions:
    case Place::entries:
        break;
    }
    return {};
}

constexpr bool hasRequiredFields(Place place, std::uint32_t fields)
{
    for (const KnownKey& key : knownKeys(place)) {
        if (key.isRequired && (fields & bit(key.field)) == 0) {
            return false;
        }
    }
    return true;
}

// A text that its vocabulary refused leaves the field alone and fails.
template <class Value, class RecordField>
[[nodiscard]] bool assign(const std::optional<Value>& parsed, RecordField& field)
{
    if (parsed) {
        field = *parsed;
    }
    return parsed.has_value();
}

} // namespace

bool WorkspaceBuilder::isPassedOver() const
{
    return m_passedOverDepth > 0 || (m_field == Field::unknown && !knownKeys(m_place).empty());
}

void WorkspaceBuilder::takeKey(std::string_view key)
{
    if (m_passedOverDepth > 0) {
        return;
    }
    if (m_place == Place::sessions) {
        m_sessionProvider = key;
        return;
    }
    m_field = Field::unknown;
    for (const KnownKey& known : knownKeys(m_place)) {
        if (known.name == key) {
            m_field = known.field;
        }
    }
}

void WorkspaceBuilder::noteField()
{
    switch (m_place) {
    case Place::workspace:
        m_workspaceFields |= bit(m_field);
        break;
    case Place::thread:
        m_threadFields |= bit(m_field);
        break;
    case Place::entry:
        m_entryFields |= bit(m_field);
        break;
    case Place::document:
    case Place::workspaces:
    case Place::threads:
    case Place::sessions:
    case Place::entries:
        break;
    }
}

bool WorkspaceBuilder::openArray()
{
    if (isPassedOver()) {
        ++m_passedOverDepth;
        return true;
    }
    noteField();
    // Cleared because the last of several values of one key counts.
    if (m_place == Place::document) {
        m_place = Place::workspaces;
    } else if (m_place == Place::workspace && m_field == Field::threads) {
        workspace().threads.clear();
        m_place = Place::threads;
    } else if (m_place == Place::thread && m_field == Field::entries) {
        thread().entries.clear();
        m_place = Place::entries;
    } else {
        return false;
    }
    return true;
}

void WorkspaceBuilder::closeArray()
{
    if (m_passedOverDepth > 0) {
        --m_passedOverDepth;
        return;
    }
    switch (m_place) {
    case Place::workspaces:
        m_place = Place::document;
        break;
    case Place::threads:
        m_place = Place::workspace;
        break;
    case Place::entries:
        m_place = Place::thread;
        break;
    case Place::document:
    case Place::workspace:
    case Place::thread:
    case Place::sessions:
    case Place::entry:
        assert(false);
        break;
    }
}

bool WorkspaceBuilder::openObject()
{
    if (isPassedOver()) {
        ++m_passedOverDepth;
        return true;
    }
    switch (m_place) {
    case Place::workspaces:
        m_workspaces.emplace_back();
        m_workspaceFields = 0;
        m_place = Place::workspace;
        return true;
    case Place::threads:
        workspace().threads.emplace_back();
        m_threadFields = 0;
        m_place = Place::thread;
        return true;
    case Place::entries:
        thread().entries.emplace_back();
        m_entryFields = 0;
        m_place = Place::entry;
        return true;
    case Place::thread:
        thread().providerSessionIDs.emplace();
        m_place = Place::sessions;
        return m_field == Field::providerSessionIDs;
    case Place::document:
    case Place::workspace:
    case Place::sessions:
    case Place::entry:
        break;
    }
    return false;
}

bool WorkspaceBuilder::closeObject()
{
    if (m_passedOverDepth > 0) {
        --m_passedOverDepth;
        return true;
    }
    const Place closed = m_place;
    switch (closed) {
    case Place::workspace:
        m_place = Place::workspaces;
        return hasRequiredFields(closed, m_workspaceFields);
    case Place::thread:
        m_place = Place::threads;
        return hasRequiredFields(closed, m_threadFields);
    case Place::entry:
        m_place = Place::entries;
        return hasRequiredFields(closed, m_entryFields);
    case Place::sessions:
        m_place = Place::thread;
        return true;
    case Place::document:
    case Place::workspaces:
    case Place::threads:
    case Place::entries:
        assert(false);
        break;
    }
    return false;
}

bool WorkspaceBuilder::takeText(std::string_view text)
{
    if (isPassedOver()) {
        return true;
    }
    noteField();
    switch (m_place) {
    case Place::workspace:
        return takeWorkspaceText(text);
    case Place::thread:
        return takeThreadText(text);
    case Place::entry:
        return takeEntryText(text);
    case Place::sessions:
        (*thread().providerSessionIDs)[m_sessionProvider] = text;
        return true;
    case Place::document:
    case Place::workspaces:
    case Place::threads:
    case Place::entries:
        break;
    }
    return false;
}

bool WorkspaceBuilder::takeWorkspaceText(std::string_view text)
{
    switch (m_field) {
    case Field::id:
        return assign(Uuid::parse(text), workspace().id);
    case Field::name:
        workspace().name = text;
        return true;
    case Field::path:
        workspace().path = text;
        return true;
    default:
        return false;
    }
}

bool WorkspaceBuilder::takeThreadText(std::string_view text)
{
    switch (m_field) {
    case Field::id:
        return assign(Uuid::parse(text), thread().id);
    case Field::title:
        thread().title = text;
        return true;
    case Field::sessionId:
        thread().sessionId.emplace(text);
        return true;
    case Field::lastProvider:
        return assign(agentProviderFromRawText(text), thread().lastProvider);
    default:
        return false;
    }
}

bool WorkspaceBuilder::takeEntryText(std::string_view text)
{
    switch (m_field) {
    case Field::id:
        entry().id = text;
        return true;
    case Field::kind:
        return assign(chatEntryKindFromRawText(text), entry().kind);
    case Field::text:
        entry().text = text;
        return true;
    case Field::title:
        entry().title.emplace(text);
        return true;
    case Field::status:
        entry().status.emplace(text);
        return true;
    case Field::provider:
        return assign(agentProviderFromRawText(text), entry().provider);
    default:
        return false;
    }
}

bool WorkspaceBuilder::takeNumber(double number)
{
    if (isPassedOver()) {
        return true;
    }
    noteField();
    if (m_place == Place::entry && m_field == Field::createdAt) {
        entry().createdAt = { number };
    } else if (m_place == Place::thread && m_field == Field::createdAt) {
        thread().createdAt = { number };
    } else if (m_place == Place::thread && m_field == Field::updatedAt) {
        thread().updatedAt = { number };
    } else {
        return false;
    }
    return true;
}

bool WorkspaceBuilder::takeNull()
{
    if (isPassedOver()) {
        return true;
    }
    // The same as no key, for optional fields only.
    if (m_place == Place::thread && m_field == Field::sessionId) {
        thread().sessionId.reset();
    } else if (m_place == Place::thread && m_field == Field::providerSessionIDs) {
        thread().providerSessionIDs.reset();
    } else if (m_place == Place::thread && m_field == Field::lastProvider) {
        thread().lastProvider.reset();
    } else if (m_place == Place::entry && m_field == Field::title) {
        entry().title.reset();
    } else if (m_place == Place::entry && m_field == Field::status) {
        entry().status.reset();
    } else if (m_place == Place::entry && m_field == Field::provider) {
        entry().provider.reset();
    } else {
        return false;
    }
    return true;
}

} // namespace tessarin
