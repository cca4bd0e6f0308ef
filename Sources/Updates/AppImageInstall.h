#pragma once

#include "Platform/Result.h"
#include "Updates/InstallRecord.h"
#include "Updates/UpdateSignature.h"

#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>

namespace tessarin
{

// Why the program was not replaced, or not rid of what that had left.
struct AppImageInstallError {
    std::string text;
    [[nodiscard]] const std::string& description() const { return text; }
};

// The file that this program runs from, when it runs from an AppImage, and its replacement by another release. The program goes on
// running from the old file, which loses its name only. All operations block while the disk works; any thread, each waits for the one
// before. Copies are the same installation.
class AppImageInstall
{
public:
    // `appImage` is what the AppImage's own start-up code has put into $APPIMAGE; empty for none. Links are followed: what they lead to
    // is what will be replaced, and they stay. Absent when this is no absolute path of a regular file. `recordPath` is that of the
    // InstallRecord, in a folder that one program at a time has.
    [[nodiscard]] static std::optional<AppImageInstall> at(const std::string& appImage, const std::string& recordPath);

    // The same for this program: `appDir` is $APPDIR, where the AppImage's start-up code has put what is in it, and `executable` the file
    // that runs. Absent unless that one lies within: whatever an AppImage starts inherits both variables, and what is started by
    // another program's AppImage must not replace that one.
    [[nodiscard]] static std::optional<AppImageInstall> ofProgram(
        const std::string& appImage, const std::string& appDir, const std::string& executable, const std::string& recordPath);

    // Puts the archive in the place of the program, whole or not at all: through a new file in the same folder, on the disk before it
    // gets the name, with the access rights of the old one. The old one stays as "<name>.previous" or, where something has that name, as
    // the first free of "<name>.previous-2", "-3"...; if an installation has kept one already, that is what has proven to start, and it
    // stays instead. On failure the program is what it was, and no file is left behind; only where such a one stays and the disk would
    // not say that it keeps the new name, the new file has it.
    // Refused when the archive is no AppImage (by the magic numbers of type 1 and 2).
    [[nodiscard]] Result<void, AppImageInstallError> install(const VerifiedArchive& archive) const;

    // Removes what installations before this start have left: the program that they kept, and what was not brought to its end. To be
    // called once the program has started and stands; there being nothing is a success. Nothing is removed that is not in the record, or
    // is no longer the file that was noted there.
    [[nodiscard]] Result<void, AppImageInstallError> dropLeftOvers() const;

    [[nodiscard]] const std::string& path() const { return m_path; } // links followed

private:
    struct Shared;
    AppImageInstall(std::string path, std::shared_ptr<Shared> shared) : m_path(std::move(path)), m_shared(std::move(shared)) { }

    [[nodiscard]] std::string previousPath(int number) const;
    [[nodiscard]] std::string unfinishedPath(const InstallTraces& traces) const;
    [[nodiscard]] bool isKept(const InstallTraces& traces) const; // whether what is noted as the previous one is there
    [[nodiscard]] Result<void, FileError> note(const InstallTraces& traces) const;

    // The steps of install. `traces` is what is noted.
    [[nodiscard]] Result<void, FileError> beginAnew(InstallTraces& traces) const;
    [[nodiscard]] Result<bool, FileError> keepPrevious(InstallTraces& traces, unsigned mode) const; // true when there was none before
    [[nodiscard]] Result<void, FileError> keepAs(InstallTraces& traces, const std::string& name, unsigned mode) const;
    [[nodiscard]] Result<void, FileError> replace(const VerifiedArchive& archive, const InstallTraces& traces, unsigned mode) const;
    void takeBack(ino_t program, const std::string& previous) const; // which file the program was
    void endNote(InstallTraces traces) const;

    std::string m_path;
    std::shared_ptr<Shared> m_shared;
};

} // namespace tessarin
