#include "Models/WorkspaceCoder.h"
#include "Models/WorkspaceKeys.h"
#include "Platform/Json.h"
#include "Platform/JsonText.h"

#include <boost/json/basic_parser_impl.hpp>

#include <array>
#include <cassert>
#include <cstdint>
#include <span>
#include <utility>

namespace tessarin
{

namespace
{

namespace json = boost::json;
namespace keys = WorkspaceKeys;

// Where in the document the next value belongs. Each place has one parent, so no stack is needed.
enum class Place { document, workspaces, workspace, threads, thread, sessions, entries, entry };

// What the next value of an object is for.
enum class Field {
    unknown,
    id,
    name,
    path,
    threads,
    title,
    sessionId,
    providerSessionIDs,
    lastProvider,
    entries,
    createdAt,
    updatedAt,
    kind,
    text,
    status,
    provider,
};

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

constexpr std::uint32_t requiredFields(Place place)
{
    std::uint32_t fields = 0;
    for (const KnownKey& key : knownKeys(place)) {
        fields |= key.isRequired ? bit(key.field) : 0;
    }
    return fields;
}

// Takes the parser's events straight into records: a tree of general values in between would cost several times the memory and time.
// Each event returns false, with an error, for what makes the whole document undecodable.
class WorkspaceHandler
{
public:
    static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
    static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
    static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);
    static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);

    [[nodiscard]] std::vector<Workspace> takeWorkspaces() { return std::move(m_workspaces); }

    bool on_document_begin(json::error_code&) { return true; }
    bool on_document_end(json::error_code&) { return true; }

    bool on_array_begin(json::error_code& error)
    {
        if (isPassedOver()) {
            ++m_passedOverDepth;
            return true;
        }
        return openArray() || fail(error);
    }

    bool on_array_end(std::size_t, json::error_code&)
    {
        if (m_passedOverDepth > 0) {
            --m_passedOverDepth;
            return true;
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
        return true;
    }

    bool on_object_begin(json::error_code& error)
    {
        if (isPassedOver()) {
            ++m_passedOverDepth;
            return true;
        }
        return openObject() || fail(error);
    }

    bool on_object_end(std::size_t, json::error_code& error)
    {
        if (m_passedOverDepth > 0) {
            --m_passedOverDepth;
            return true;
        }
        return closeObject() || fail(error);
    }

    bool on_key_part(json::string_view part, std::size_t, json::error_code&)
    {
        m_text.append(part.data(), part.size());
        return true;
    }

    bool on_key(json::string_view part, std::size_t, json::error_code&)
    {
        const std::string_view key = wholeText(part);
        if (m_place == Place::sessions) {
            m_sessionKey = key;
        } else if (m_passedOverDepth == 0) {
            m_field = Field::unknown;
            for (const KnownKey& known : knownKeys(m_place)) {
                if (known.name == key) {
                    m_field = known.field;
                }
            }
        }
        m_text.clear();
        return true;
    }

    bool on_string_part(json::string_view part, std::size_t, json::error_code&)
    {
        if (!isPassedOver()) {
            m_text.append(part.data(), part.size());
        }
        return true;
    }

    bool on_string(json::string_view part, std::size_t, json::error_code& error)
    {
        if (isPassedOver()) {
            return true;
        }
        const bool isTaken = takeText(wholeText(part));
        m_text.clear();
        return isTaken || fail(error);
    }

    // Only a document that is a bare number is told in parts: others don't end in one.
    bool on_number_part(json::string_view, json::error_code&) { return true; }
    bool on_int64(std::int64_t value, json::string_view, json::error_code& error) { return onNumber(static_cast<double>(value), error); }
    bool on_uint64(std::uint64_t value, json::string_view, json::error_code& error) { return onNumber(static_cast<double>(value), error); }
    bool on_double(double approximation, json::string_view digits, json::error_code& error)
    {
        return onNumber(readJsonNumber(std::string_view(digits.data(), digits.size()), approximation), error);
    }

    bool on_bool(bool, json::error_code& error) { return isPassedOver() || fail(error); }
    bool on_null(json::error_code& error) { return isPassedOver() || takeNull() || fail(error); }
    bool on_comment_part(json::string_view, json::error_code&) { return true; }
    bool on_comment(json::string_view, json::error_code&) { return true; }

private:
    [[nodiscard]] bool isPassedOver() const
    {
        return m_passedOverDepth > 0
            || (m_field == Field::unknown && (m_place == Place::workspace || m_place == Place::thread || m_place == Place::entry));
    }

    static bool fail(json::error_code& error)
    {
        error = json::make_error_code(json::error::syntax);
        return false;
    }

    // A text that came in parts stands in m_text; one that came whole isn't copied.
    [[nodiscard]] std::string_view wholeText(json::string_view lastPart)
    {
        if (m_text.empty()) {
            return { lastPart.data(), lastPart.size() };
        }
        return m_text.append(lastPart.data(), lastPart.size());
    }

    [[nodiscard]] Workspace& workspace() { return m_workspaces.back(); }
    [[nodiscard]] ChatThread& thread() { return workspace().threads.back(); }
    [[nodiscard]] ChatEntry& entry() { return thread().entries.back(); }

    [[nodiscard]] bool openArray()
    {
        if (m_place == Place::document) {
            m_place = Place::workspaces;
            return true;
        }
        if (m_place == Place::workspace && m_field == Field::threads) {
            m_workspaceFields |= bit(m_field);
            workspace().threads.clear();
            m_place = Place::threads;
            return true;
        }
        if (m_place == Place::thread && m_field == Field::entries) {
            m_threadFields |= bit(m_field);
            thread().entries.clear();
            m_place = Place::entries;
            return true;
        }
        return false;
    }

    [[nodiscard]] bool openObject()
    {
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
            if (m_field == Field::providerSessionIDs) {
                thread().providerSessionIDs.emplace();
                m_place = Place::sessions;
                return true;
            }
            return false;
        case Place::document:
        case Place::workspace:
        case Place::sessions:
        case Place::entry:
            break;
        }
        return false;
    }

    // False when a required field is missing.
    [[nodiscard]] bool closeObject()
    {
        const auto hasAll = [](std::uint32_t fields, std::uint32_t required) { return (fields & required) == required; };
        switch (m_place) {
        case Place::workspace:
            m_place = Place::workspaces;
            return hasAll(m_workspaceFields, requiredFields(Place::workspace));
        case Place::thread:
            m_place = Place::threads;
            return hasAll(m_threadFields, requiredFields(Place::thread));
        case Place::entry:
            m_place = Place::entries;
            return hasAll(m_entryFields, requiredFields(Place::entry));
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

    [[nodiscard]] bool takeText(std::string_view text)
    {
        switch (m_place) {
        case Place::workspace:
            m_workspaceFields |= bit(m_field);
            return takeWorkspaceText(text);
        case Place::thread:
            m_threadFields |= bit(m_field);
            return takeThreadText(text);
        case Place::entry:
            m_entryFields |= bit(m_field);
            return takeEntryText(text);
        case Place::sessions:
            (*thread().providerSessionIDs)[m_sessionKey] = text;
            return true;
        case Place::document:
        case Place::workspaces:
        case Place::threads:
        case Place::entries:
            break;
        }
        return false;
    }

    template <class Value>
    [[nodiscard]] static bool take(const std::optional<Value>& parsed, std::optional<Value>& field)
    {
        field = parsed;
        return parsed.has_value();
    }

    template <class Value>
    [[nodiscard]] static bool take(const std::optional<Value>& parsed, Value& field)
    {
        if (parsed) {
            field = *parsed;
        }
        return parsed.has_value();
    }

    [[nodiscard]] bool takeWorkspaceText(std::string_view text)
    {
        if (m_field == Field::id) {
            return take(Uuid::parse(text), workspace().id);
        }
        if (m_field == Field::name) {
            workspace().name = text;
            return true;
        }
        if (m_field == Field::path) {
            workspace().path = text;
            return true;
        }
        return false;
    }

    [[nodiscard]] bool takeThreadText(std::string_view text)
    {
        if (m_field == Field::id) {
            return take(Uuid::parse(text), thread().id);
        }
        if (m_field == Field::title) {
            thread().title = text;
            return true;
        }
        if (m_field == Field::sessionId) {
            thread().sessionId.emplace(text);
            return true;
        }
        return m_field == Field::lastProvider && take(agentProviderFromRawText(text), thread().lastProvider);
    }

    [[nodiscard]] bool takeEntryText(std::string_view text)
    {
        ChatEntry& record = entry();
        if (m_field == Field::id) {
            record.id = text;
        } else if (m_field == Field::text) {
            record.text = text;
        } else if (m_field == Field::title) {
            record.title.emplace(text);
        } else if (m_field == Field::status) {
            record.status.emplace(text);
        } else if (m_field == Field::kind) {
            return take(chatEntryKindFromRawText(text), record.kind);
        } else {
            return m_field == Field::provider && take(agentProviderFromRawText(text), record.provider);
        }
        return true;
    }

    bool onNumber(std::optional<double> value, json::error_code& error)
    {
        return (isPassedOver() && value) || (value && takeNumber(*value)) || fail(error);
    }

    [[nodiscard]] bool takeNumber(double value)
    {
        if (m_place == Place::entry && m_field == Field::createdAt) {
            m_entryFields |= bit(m_field);
            entry().createdAt = { value };
            return true;
        }
        if (m_place == Place::thread && (m_field == Field::createdAt || m_field == Field::updatedAt)) {
            m_threadFields |= bit(m_field);
            (m_field == Field::createdAt ? thread().createdAt : thread().updatedAt) = { value };
            return true;
        }
        return false;
    }

    // An absent optional field. The last of several values of one key counts, also when it is this one.
    [[nodiscard]] bool takeNull()
    {
        if (m_place == Place::thread) {
            switch (m_field) {
            case Field::sessionId:
                thread().sessionId.reset();
                return true;
            case Field::providerSessionIDs:
                thread().providerSessionIDs.reset();
                return true;
            case Field::lastProvider:
                thread().lastProvider.reset();
                return true;
            default:
                return false;
            }
        }
        if (m_place == Place::entry) {
            switch (m_field) {
            case Field::title:
                entry().title.reset();
                return true;
            case Field::status:
                entry().status.reset();
                return true;
            case Field::provider:
                entry().provider.reset();
                return true;
            default:
                return false;
            }
        }
        return false;
    }

    std::vector<Workspace> m_workspaces;
    Place m_place = Place::document;
    Field m_field = Field::unknown;
    std::uint32_t m_workspaceFields = 0; // that the open project has
    std::uint32_t m_threadFields = 0; // that the open task has
    std::uint32_t m_entryFields = 0; // that the open entry has
    std::size_t m_passedOverDepth = 0; // of the value of an unknown key, while one is open
    std::string m_text; // the parts of a text that is not complete
    std::string m_sessionKey;
};

} // namespace

std::optional<std::vector<Workspace>> decodeWorkspaces(std::string_view text)
{
    json::parse_options options;
    options.max_depth = maximumJsonDepth;
    json::basic_parser<WorkspaceHandler> parser(options);
    json::error_code error;
    const std::size_t used = parser.write_some(false, text.data(), text.size(), error);
    if (error || used != text.size() || !parser.done()) {
        return std::nullopt;
    }
    return parser.handler().takeWorkspaces();
}

} // namespace tessarin
