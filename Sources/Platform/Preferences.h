#pragma once

#include "Platform/Files.h"
#include "Platform/Instant.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

// Where the stores of the program are.
struct StoreLocations {
    std::string configuration; // $XDG_CONFIG_HOME/tessarin
    std::string data; // $XDG_DATA_HOME/tessarin

    // From $XDG_CONFIG_HOME, $XDG_DATA_HOME (both count only when absolute) and $HOME.
    [[nodiscard]] static StoreLocations current();
};

// The person's settings and stored state: texts and booleans in `preferences.json`, a value of bytes in a file of its own.
// A value is visible at once and written behind by one background writer, newest value last: values in between may never be written.
// A failed write keeps the file of before, leaves the value visible and says nothing; `flush` tries it once more.
// Main thread only, and it never waits for a disk except in the constructor, `bytes` and `flush`. `flush` is called before the program
// ends.
//
// On macOS the same operations stand for the standard domain of NSUserDefaults: text is setObject:, boolean setBool:, bytes an NSData;
// that system is the writer behind, `flush` is synchronize, values under keys set by older versions are found there, and there is no
// folder of our own but for what setAside keeps.
class Preferences
{
public:
    // Reads `preferences.json`. One that can't be read or decoded counts as empty and is kept aside before it is replaced.
    // `now` dates what is set aside.
    explicit Preferences(StoreLocations locations, InstantSource now = &Instant::now);
    ~Preferences(); // flushes
    Preferences(const Preferences&) = delete;
    Preferences& operator=(const Preferences&) = delete;

    // Absent also for a value of another type.
    [[nodiscard]] std::optional<std::string> text(const std::string& key) const;
    void setText(const std::string& key, std::string value);
    [[nodiscard]] std::optional<bool> boolean(const std::string& key) const;
    void setBoolean(const std::string& key, bool value);
    // Of whatever type the value is.
    void remove(const std::string& key);

    // The bytes under the key as they are now: the newest value set, else what the file holds. A file that is there but can't be read
    // counts as absent and is kept aside before the key is written.
    [[nodiscard]] std::optional<std::string> bytes(const std::string& key);
    // Requires: the key is a file name.
    void setBytes(const std::string& key, ByteRope value);

    // The same as `bytes` in two steps: what is returned may be called on any thread, once or not at all, also after these preferences
    // are gone, and gives the bytes as they were at this moment or later; a failure is that of reading the file.
    using BytesReader = std::function<Result<std::optional<std::string>, FileError>()>;
    [[nodiscard]] BytesReader bytesReader(const std::string& key) const;

    // Keeps what is stored under the key as "<key>.undecodable-<date>" beside it, just before the next write of the key replaces it, and
    // never over an earlier file. The date is that of this call, in UTC, as in 20261121T083000Z. A key that can't be kept aside isn't
    // written. Nothing happens as long as the key isn't written.
    void setAside(const std::string& key);

    // Returns when everything set so far has been written, or has failed to be.
    void flush();

    [[nodiscard]] const StoreLocations& locations() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace tessarin
