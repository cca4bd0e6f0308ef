#pragma once

#include "Platform/Files.h"

#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

// Where the stores of the program are.
struct StoreLocations {
    std::string configuration; // $XDG_CONFIG_HOME/tessarin
    std::string data; // $XDG_DATA_HOME/tessarin

    // From $XDG_CONFIG_HOME, $XDG_DATA_HOME and $HOME.
    [[nodiscard]] static StoreLocations current();
};

// The person's settings and stored state: texts and booleans in `preferences.json`, a value of bytes in a file of its own.
// A value is visible at once and written behind by one background writer, newest value last; a failed write keeps the file of
// before and says nothing. Main thread only. `flush` is called before the program ends.
class Preferences
{
public:
    explicit Preferences(StoreLocations locations);
    ~Preferences(); // flushes
    Preferences(const Preferences&) = delete;
    Preferences& operator=(const Preferences&) = delete;

    [[nodiscard]] std::optional<std::string> text(const std::string& key) const;
    void setText(const std::string& key, std::string value);
    [[nodiscard]] std::optional<bool> boolean(const std::string& key) const;
    void setBoolean(const std::string& key, bool value);
    void remove(const std::string& key);

    // The bytes under the key as they are now: the newest value set, else what the file holds.
    [[nodiscard]] std::optional<std::string> bytes(const std::string& key) const;
    void setBytes(const std::string& key, ByteRope value);
    // Copies the stored bytes to "<key>.undecodable-<date>" beside them, before the next write of the key replaces them.
    void setAside(const std::string& key);

    // Returns when everything set so far has been written, or has failed to be.
    void flush();

    [[nodiscard]] const StoreLocations& locations() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace tessarin
