#include "FuzzTarget.h"
#include "Platform/Text.h"
#include "Updates/ArchiveKeeping.h"
#include "Updates/ReleaseNotes.h"
#include "Updates/UpdateChoice.h"
#include "Updates/VersionOrder.h"

#include <algorithm>
#include <cstddef>

const tessarin::LongTextInput tessarin::longTextInput{ "<rss><channel><item><title>", "</title></item></channel></rss>" };

namespace
{

using namespace tessarin;

constexpr std::ptrdiff_t statementLines = 6;

void holdTheOrder(std::string_view first, std::string_view second, std::string_view third)
{
    const auto order = compareVersions(first, second);
    fuzzRequire(compareVersions(first, first) == 0, "a version equals itself");
    fuzzRequire(compareVersions(second, first) == 0 <=> order, "an order seen from the other side is its reverse");
    if (order <= 0 && compareVersions(second, third) <= 0) {
        fuzzRequire(compareVersions(first, third) <= 0, "what comes after the second comes after the first");
    }
}

} // namespace

// A feed is refused, or gives items within the limits in texts that are UTF-8, and what is chosen of them is newer than what runs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto feed = Appcast::parse(asText(data, size));
    if (!feed) {
        fuzzRequire(!feed.error().description().empty(), "a refusal has a reason");
        return 0;
    }
    const auto& items = feed.value().items;
    fuzzRequire(items.size() <= Appcast::itemLimit, "not too many items");
    for (const AppcastItem& item : items) {
        fuzzRequire(!item.version.empty() && !item.enclosures.empty(), "an item has a version and a file");
        fuzzRequire(item.enclosures.size() <= Appcast::enclosureLimit, "not too many files");
        const std::size_t longest = std::max({ item.version.size(), item.shortVersionString.size(), item.minimumSystemVersion.size() });
        fuzzRequire(longest <= Appcast::versionByteLimit, "no version is long");
        fuzzRequire(item.releaseNotesLink.size() <= Appcast::linkByteLimit, "no address of notes is long");
        fuzzRequire(isValidUtf8(item.title) && isValidUtf8(item.description) && isValidUtf8(item.version), "texts are UTF-8");
        const std::string notes = ReleaseNotes::plainText(item.description);
        fuzzRequire(isValidUtf8(notes) && notes.find('\033') == std::string::npos, "notes are plain text");
        const std::string name = ArchiveKeeping::fileName(item.enclosures.front().url, item.version);
        fuzzRequire(name.find('/') == std::string::npos && !name.empty() && name.front() != '.', "a name is that of a visible file");
        holdTheOrder(item.version, items.front().version, items.back().version);
    }
    const auto chosen = UpdateChoice::newest(feed.value(), "1.0", { "linux", "6.1" });
    if (chosen) {
        fuzzRequire(compareVersions(chosen->item.version, "1.0") > 0, "no downgrade");
        fuzzRequire(chosen->item.channel.empty(), "the default channel only");
        fuzzRequire(!chosen->item.os.empty() || !chosen->enclosure.os.empty(), "only what names the system");
        const auto text = chosen->statement().text();
        const auto lines = text ? std::count(text->begin(), text->end(), '\n') : statementLines;
        fuzzRequire(lines == statementLines, "a statement is of so many lines, whatever the feed says");
        const auto& files = chosen->item.enclosures;
        fuzzRequire(std::find(files.begin(), files.end(), chosen->enclosure) != files.end(), "the file is one of the item");
    }
    return 0;
}
