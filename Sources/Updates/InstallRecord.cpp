#include "Updates/InstallRecord.h"

#include "Platform/FileMoving.h"
#include "Platform/Json.h"
#include "Platform/PercentEncoding.h"

#include <filesystem>
#include <limits>

namespace tessarin
{

namespace
{

constexpr std::size_t byteLimit = std::size_t{ 1024 } * 1024;

// A path may hold any bytes, and JSON may not.
std::string keyOf(const std::string& program)
{
    return percentEncoded(program, "/-._~");
}

JsonObject entriesIn(const std::string& path)
{
    const auto text = readFile(path, byteLimit);
    auto entries = text ? parseJson(text.value()) : std::nullopt;
    return entries && entries->is_object() ? std::move(entries->get_object()) : JsonObject();
}

std::optional<InstallTraces::Previous> previousFrom(const JsonObject& entry)
{
    const JsonObject* const previous = objectAt(entry, "previous");
    const auto number = previous != nullptr ? integerAt(*previous, "number") : std::nullopt;
    const auto size = previous != nullptr ? integerAt(*previous, "size") : std::nullopt;
    const auto modified = previous != nullptr ? integerAt(*previous, "modified") : std::nullopt;
    if (!number || !size || !modified || *number < 1 || *number > std::numeric_limits<int>::max() || *size < 0) {
        return std::nullopt;
    }
    return InstallTraces::Previous{ static_cast<int>(*number), { static_cast<std::uint64_t>(*size), *modified } };
}

JsonObject entryOf(const InstallTraces& traces)
{
    JsonObject entry;
    if (traces.previous) {
        const auto& [number, file] = *traces.previous;
        entry["previous"]
            = JsonObject{ { "number", number }, { "size", static_cast<std::int64_t>(file.size) }, { "modified", file.modified } };
    }
    if (traces.unfinished) {
        entry["unfinished"] = traces.unfinished->text();
    }
    return entry;
}

} // namespace

std::optional<NotedFile> NotedFile::at(const std::string& path)
{
    namespace fs = std::filesystem;
    std::error_code error;
    if (!fs::is_regular_file(fs::symlink_status(path, error))) {
        return std::nullopt;
    }
    const auto size = fs::file_size(path, error);
    const auto modified = error ? fs::file_time_type() : fs::last_write_time(path, error);
    return error ? std::nullopt : std::optional(NotedFile{ size, static_cast<std::int64_t>(modified.time_since_epoch().count()) });
}

InstallTraces InstallRecord::traces(const std::string& program) const
{
    const JsonObject entries = entriesIn(m_path);
    const JsonObject* const entry = objectAt(entries, keyOf(program));
    if (entry == nullptr) {
        return {};
    }
    return { previousFrom(*entry), Uuid::parse(textAt(*entry, "unfinished").value_or("")) };
}

Result<void, FileError> InstallRecord::setTraces(const std::string& program, const InstallTraces& traces) const
{
    JsonObject entries = entriesIn(m_path);
    if (traces == InstallTraces{}) {
        entries.erase(keyOf(program));
    } else {
        entries[keyOf(program)] = entryOf(traces);
    }
    if (entries.empty()) {
        return removeFile(m_path);
    }
    if (auto made = createDirectories(parentPath(m_path)); !made) {
        return made;
    }
    return writeFileAtomicallyThrough(m_path + ".new", m_path, ByteRope(compactJson(entries)));
}

} // namespace tessarin
