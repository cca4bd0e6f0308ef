#pragma once

#include "Platform/Files.h"
#include "Platform/Uuid.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace tessarin
{

// A file as it was when it was noted: enough to see that another one has its name now. Not its number, which some file systems make up
// anew each time that they are mounted.
struct NotedFile {
    std::uint64_t size = 0;
    std::int64_t modified = 0; // in the ticks of the file system's clock

    // Absent for what is no regular file; links are not followed.
    [[nodiscard]] static std::optional<NotedFile> at(const std::string& path);
    bool operator==(const NotedFile&) const = default;
};

// What installations of one program have put beside it.
struct InstallTraces {
    struct Previous {
        int number = 1; // which of the names it has
        NotedFile file;
        bool operator==(const Previous&) const = default;
    };
    std::optional<Previous> previous; // the program that ran before
    std::optional<Uuid> unfinished; // in the name of a file that is written
    bool operator==(const InstallTraces&) const = default;
};

// Remembers what installations have put beside programs, so that nothing else is ever taken for it: a file of the person's may have any
// name. What is to be made is noted before it is made, so that also a program that is killed leaves nothing that is not known. It lies
// with the stores of this account, so that no other instance of the program knows what is at work here. Any thread, one at a time.
class InstallRecord
{
public:
    explicit InstallRecord(std::string path) : m_path(std::move(path)) { }

    // Of the program at this path. What can't be read counts as none.
    [[nodiscard]] InstallTraces traces(const std::string& program) const;
    // They are on the disk when this returns.
    [[nodiscard]] Result<void, FileError> setTraces(const std::string& program, const InstallTraces& traces) const;

private:
    std::string m_path;
};

} // namespace tessarin
