#pragma once

#include "Imagine/ImagineItem.h"
#include "Platform/BackgroundWriter.h"
#include "Platform/Preferences.h"

#include <optional>
#include <string>
#include <vector>

namespace tessarin
{

// The library of generated images and videos: one folder with copies of the media, and `history.json` in it, newest item first.
// Each operation finds or makes the folder, and so looks each time whether an earlier version's is to be taken over.
// Failures of load and save are silent: a history that can't be read or decoded loads as an empty one, and is kept aside as
// "history.json.undecodable-<date>" before the next save replaces it.
// The static operations run on any thread; the others on the main thread only, and there load comes before the first save.
class ImagineStore
{
public:
    static constexpr const char* historyName = "history.json";

    explicit ImagineStore(StoreLocations locations, InstantSource now = &Instant::now); // `now` dates what is kept aside
    ~ImagineStore(); // flushes
    ImagineStore(const ImagineStore&) = delete;
    ImagineStore& operator=(const ImagineStore&) = delete;

    // The library folder, "Imagine" in `locations.data`. Where there is none yet, "Ombrelan/Imagine" beside `locations.data` is moved
    // there first; the history in it still names the files at their old places, and stays as it is.
    [[nodiscard]] static Result<std::string, FileError> directory(const StoreLocations& locations = StoreLocations::current());

    // Copies a media file, links followed, into the library under a new name; the file stays where it is. Absent for what is no regular
    // file or has none of the extensions that we know. Blocks while the disk works, and fails when
    // the program ends meanwhile. The item is in no history until it is saved.
    [[nodiscard]] static Result<std::optional<ImagineItem>, FileError> importMedia(
        const std::string& path, const std::string& prompt, const StoreLocations& locations = StoreLocations::current());

    // The history as it was last saved, without the items whose file is not there at this moment. Writes nothing.
    [[nodiscard]] std::vector<ImagineItem> load();
    // Replaces the whole history. Returns before it is written: one background writer writes the newest one, whole or not at all.
    void save(const std::vector<ImagineItem>& items);
    // Returns when what was saved has been written, or has failed to be.
    void flush();

private:
    [[nodiscard]] std::string historyPath() const;
    // Absent when there is one that can't be read or decoded.
    [[nodiscard]] std::optional<std::vector<ImagineItem>> storedItems() const;

    // Constant after construction.
    StoreLocations m_locations;
    InstantSource m_now;
    // Main thread only.
    BackgroundWriter m_writer;
};

} // namespace tessarin
