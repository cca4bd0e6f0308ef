#include "Imagine/ImagineStore.h"

#include "Imagine/ImagineHistory.h"
#include "Platform/BackgroundWork.h"
#include "Platform/CompactDate.h"
#include "Platform/FileExtension.h"
#include "Platform/FileMoving.h"

#include <array>
#include <cerrno>
#include <sys/stat.h>
#include <utility>

namespace tessarin
{

namespace
{

struct KnownExtension {
    std::string_view text;
    ImagineKind kind;
};

constexpr std::array knownExtensions{
    KnownExtension{ "jpg", ImagineKind::image },
    KnownExtension{ "jpeg", ImagineKind::image },
    KnownExtension{ "png", ImagineKind::image },
    KnownExtension{ "webp", ImagineKind::image },
    KnownExtension{ "gif", ImagineKind::image },
    KnownExtension{ "mp4", ImagineKind::video },
    KnownExtension{ "mov", ImagineKind::video },
    KnownExtension{ "m4v", ImagineKind::video },
    KnownExtension{ "webm", ImagineKind::video },
};

// Far more than a person can make; a larger file is none of ours, and is kept aside like one that does not decode.
constexpr std::size_t historyLimit = std::size_t{ 256 } * 1024 * 1024;

// What a disk takes in seconds. A copy of which more is missing would keep the program from ending, so it is given up then.
constexpr std::uint64_t finishedAtEndLimit = std::uint64_t{ 1024 } * 1024 * 1024;

bool isCopyToEnd(std::uint64_t missing)
{
    return missing > finishedAtEndLimit && isBackgroundWorkEnding();
}

const KnownExtension* knownExtension(const std::string& path)
{
    const std::string extension = lowerCasedExtension(path);
    for (const KnownExtension& known : knownExtensions) {
        if (known.text == extension) {
            return &known;
        }
    }
    return nullptr;
}

// The system cuts a path at a zero byte, and would answer for another file.
bool isCutByTheSystem(const std::string& path)
{
    return path.find('\0') != std::string::npos;
}

// An agent may name a folder, a pipe or a device; of none of them a copy is a file of the library.
bool isRegularFile(const std::string& path)
{
    struct stat status;
    return !isCutByTheSystem(path) && ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Under a hidden name until it is whole, so that what a program that is killed leaves behind looks like no picture.
Result<void, FileError> copyWhole(const std::string& source, const std::string& copy, const std::string& part)
{
    if (auto copied = copyFile(source, part, 0600, isCopyToEnd); !copied) {
        return copied;
    }
    auto moved = moveItem(part, copy);
    if (!moved) {
        static_cast<void>(removeFile(part)); // the failure of the move is the one to tell
    }
    return moved;
}

std::string libraryFolder(const StoreLocations& locations)
{
    return locations.data + "/Imagine";
}

Result<void, FileError> takeOverLegacyFolder(const std::string& library, const std::string& legacy)
{
    if (auto created = createDirectories(parentPath(library)); !created) {
        return created;
    }
    auto moved = moveItem(legacy, library);
    // An import on another thread may have taken it over in between.
    return moved || isDirectory(library) ? Result<void, FileError>() : moved;
}

} // namespace

ImagineStore::ImagineStore(StoreLocations locations, InstantSource now) : m_locations(std::move(locations)), m_now(std::move(now)) { }

ImagineStore::~ImagineStore() = default;

Result<std::string, FileError> ImagineStore::directory(const StoreLocations& locations)
{
    const std::string library = libraryFolder(locations);
    const std::string legacy = parentPath(locations.data) + "/Ombrelan/Imagine";
    if (!fileExists(library) && isDirectory(legacy)) {
        if (const auto taken = takeOverLegacyFolder(library, legacy); !taken) {
            return Failure{ taken.error() };
        }
    }
    if (const auto created = createDirectories(library); !created) {
        return Failure{ created.error() };
    }
    return library;
}

Result<std::optional<ImagineItem>, FileError> ImagineStore::importMedia(
    const std::string& path, const std::string& prompt, const StoreLocations& locations)
{
    const std::string source = standardizedPath(path);
    const KnownExtension* known = knownExtension(source);
    if (!known || !isRegularFile(source)) {
        return std::optional<ImagineItem>();
    }
    const auto library = directory(locations);
    if (!library) {
        return Failure{ library.error() };
    }
    const std::string fileName = Uuid::random().text() + "." + std::string(known->text);
    const std::string copy = library.value() + "/" + fileName;
    if (const auto copied = copyWhole(source, copy, library.value() + "/." + fileName + ".part"); !copied) {
        return Failure{ copied.error() };
    }
    return std::optional(ImagineItem::make(known->kind, prompt, copy, fileName));
}

std::vector<ImagineItem> ImagineStore::load()
{
    auto items = storedItems();
    if (!items) {
        m_writer.keepAsideBeforeReplacing(historyPath(), historyPath() + ".undecodable-" + compactDate(m_now()));
        return {};
    }
    std::erase_if(*items, [](const ImagineItem& item) { return isCutByTheSystem(item.localPath) || !fileExists(item.localPath); });
    return std::move(*items);
}

std::optional<std::vector<ImagineItem>> ImagineStore::storedItems() const
{
    // First, so that a folder which is taken over brings its history along.
    if (!directory(m_locations)) {
        return std::nullopt;
    }
    if (const auto unwritten = m_writer.unwritten(historyPath())) {
        return decodeImagineHistory((*unwritten)->joined());
    }
    const auto stored = readFile(historyPath(), historyLimit);
    if (!stored) {
        return stored.error().code == ENOENT ? std::optional(std::vector<ImagineItem>()) : std::nullopt;
    }
    return decodeImagineHistory(stored.value());
}

void ImagineStore::save(const std::vector<ImagineItem>& items)
{
    // A history that can't be encoded, or has no folder to go to, isn't written and the earlier one stays, without a word by design.
    auto encoded = encodeImagineHistory(items);
    if (encoded && directory(m_locations)) {
        m_writer.replace(historyPath(), std::make_shared<const ByteRope>(std::move(*encoded)));
    }
}

void ImagineStore::flush()
{
    m_writer.flush();
}

std::string ImagineStore::historyPath() const
{
    return libraryFolder(m_locations) + "/" + historyName;
}

} // namespace tessarin
