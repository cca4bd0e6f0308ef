#pragma once

#include "Platform/Result.h"
#include "Updates/UpdateSignature.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>

namespace tessarin
{

// Why the program was not replaced, or not rid of its predecessor.
struct AppImageInstallError {
    std::string text;
    [[nodiscard]] const std::string& description() const { return text; }
};

// The file that this program runs from, when it runs from an AppImage, and its replacement by another release. The program goes on
// running from the old file, which loses its name only. All operations block while the disk works; one at a time, on any thread.
class AppImageInstall
{
public:
    // `appImage` is what the AppImage's own start-up code has put into $APPIMAGE; empty for none. Links are followed: what they lead to
    // is what will be replaced, and they stay. Absent when this is no absolute path of a regular file.
    [[nodiscard]] static std::optional<AppImageInstall> at(const std::string& appImage);

    // The same for this program: `appDir` is $APPDIR, where the AppImage's start-up code has put what is in it, and `executable` the file
    // that runs. Absent unless that one lies within: whatever an AppImage starts inherits both variables, and what is started by
    // another program's AppImage must not replace that one.
    [[nodiscard]] static std::optional<AppImageInstall> ofProgram(
        const std::string& appImage, const std::string& appDir, const std::string& executable);

    // Puts the archive in the place of the program, whole or not at all: through a new file in the same folder, on the disk before it
    // gets the name, with the access rights of the old one. The old one stays as "<name>.previous"; if there is one already, it is
    // that which has proven to start, and it stays instead. On failure the program is what it was, and no file is left behind.
    // Refused when the archive is no AppImage (by the magic numbers of type 1 and 2).
    [[nodiscard]] Result<void, AppImageInstallError> install(const VerifiedArchive& archive) const;

    // Removes "<name>.previous". To be called once the program has started and stands; there being none is a success. Whatever has
    // that name without being a regular file is none of ours, and stays.
    [[nodiscard]] Result<void, AppImageInstallError> removePrevious() const;

    [[nodiscard]] const std::string& path() const { return m_path; } // links followed
    [[nodiscard]] std::string previousPath() const { return m_path + ".previous"; }

private:
    explicit AppImageInstall(std::string path) : m_path(std::move(path)) { }

    [[nodiscard]] std::string temporaryPath() const;

    // The steps of install.
    [[nodiscard]] Result<bool, FileError> keepPrevious(unsigned mode) const; // true when there was none before
    [[nodiscard]] Result<void, FileError> replace(const VerifiedArchive& archive, unsigned mode) const;
    void takeBack(ino_t program) const; // which file the program was

    std::string m_path;
};

} // namespace tessarin
