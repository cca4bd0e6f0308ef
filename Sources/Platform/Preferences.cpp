#include "Platform/Preferences.h"

#include "Platform/BackgroundWriter.h"
#include "Platform/CompactDate.h"
#include "Platform/Json.h"

#include <cassert>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace tessarin
{

namespace
{

constexpr const char* fileName = "preferences.json";

std::string folderFromEnvironment(const char* variable, const char* fallbackBelowHome)
{
    const char* value = std::getenv(variable);
    // A relative folder is to be ignored (freedesktop.org, XDG base directories).
    return value && *value == '/' ? std::string(value) : homeDirectory() + fallbackBelowHome;
}

} // namespace

StoreLocations StoreLocations::current()
{
    return { .configuration = folderFromEnvironment("XDG_CONFIG_HOME", "/.config") + "/tessarin",
        .data = folderFromEnvironment("XDG_DATA_HOME", "/.local/share") + "/tessarin" };
}

struct Preferences::Implementation {
    // Constant after construction.
    StoreLocations locations;
    InstantSource now;
    // Main thread only. Values of other types, of a later version perhaps, are kept as they are.
    JsonObject settings;
    BackgroundWriter writer;

    [[nodiscard]] std::string settingsPath() const { return locations.configuration + "/" + fileName; }
    [[nodiscard]] std::string bytesPath(const std::string& key) const
    {
        assert(!key.empty() && key.find('/') == std::string::npos);
        return locations.data + "/" + key;
    }

    void readSettings()
    {
        const auto stored = readFile(settingsPath());
        if (!stored && stored.error().code == ENOENT) {
            return;
        }
        std::optional<Json> value = stored ? parseJson(stored.value()) : std::nullopt;
        if (!value || !value->is_object()) {
            keepAside(settingsPath());
            return;
        }
        settings = std::move(value->get_object());
    }

    void writeSettings() { writer.replace(settingsPath(), std::make_shared<const ByteRope>(prettyJson(settings).value_or("{}") + "\n")); }

    void keepAside(const std::string& path) { writer.keepAsideBeforeReplacing(path, path + ".undecodable-" + compactDate(now())); }
};

Preferences::Preferences(StoreLocations locations, InstantSource now) : m_implementation(std::make_unique<Implementation>())
{
    m_implementation->locations = std::move(locations);
    m_implementation->now = std::move(now);
    m_implementation->readSettings();
}

Preferences::~Preferences() = default;

std::optional<std::string> Preferences::text(const std::string& key) const
{
    const auto text = textAt(m_implementation->settings, key);
    return text ? std::optional(std::string(*text)) : std::nullopt;
}

void Preferences::setText(const std::string& key, std::string value)
{
    m_implementation->settings[key] = std::move(value);
    m_implementation->writeSettings();
}

std::optional<bool> Preferences::boolean(const std::string& key) const
{
    return booleanAt(m_implementation->settings, key);
}

void Preferences::setBoolean(const std::string& key, bool value)
{
    m_implementation->settings[key] = value;
    m_implementation->writeSettings();
}

void Preferences::remove(const std::string& key)
{
    if (m_implementation->settings.erase(key) > 0) {
        m_implementation->writeSettings();
    }
    m_implementation->writer.replace(m_implementation->bytesPath(key), nullptr);
}

std::optional<std::string> Preferences::bytes(const std::string& key)
{
    auto stored = bytesReader(key)();
    if (!stored) {
        setAside(key);
        return std::nullopt;
    }
    return std::move(stored).value();
}

void Preferences::setBytes(const std::string& key, ByteRope value)
{
    m_implementation->writer.replace(m_implementation->bytesPath(key), std::make_shared<const ByteRope>(std::move(value)));
}

Preferences::BytesReader Preferences::bytesReader(const std::string& key) const
{
    using Bytes = std::optional<std::string>;
    std::string path = m_implementation->bytesPath(key);
    if (const auto unwritten = m_implementation->writer.unwritten(path)) {
        return [contents = *unwritten]() -> Result<Bytes, FileError> { return contents ? Bytes(contents->joined()) : std::nullopt; };
    }
    return [path = std::move(path)]() -> Result<Bytes, FileError> {
        auto stored = readFile(path);
        if (stored) {
            return Bytes(std::move(stored).value());
        }
        if (stored.error().code == ENOENT) {
            return Bytes();
        }
        return Failure{ stored.error() };
    };
}

void Preferences::setAside(const std::string& key)
{
    m_implementation->keepAside(m_implementation->bytesPath(key));
}

void Preferences::flush()
{
    m_implementation->writer.flush();
}

const StoreLocations& Preferences::locations() const
{
    return m_implementation->locations;
}

} // namespace tessarin
