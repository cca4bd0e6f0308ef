#pragma once

#include "Platform/Files.h"
#include "Platform/ScratchFile.h"
#include "Updates/ReleaseStatement.h"
#include "Updates/UpdateKey.h"
#include "Updates/UpdateSignature.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

class MainThread;

// An archive while it comes. What is appended goes to a file without a name and is verified there, all in the background and in order, so
// that the main thread never waits for a disk; what waits for the disk is bounded, and who appends holds back what there is no room for.
// Dropping it returns at once and calls nobody; the end of the program waits for the part that is just being written. Main thread only.
class IncomingArchive
{
public:
    // Bytes that may wait for the disk, with those that are just being written.
    static constexpr std::size_t waitingLimit = std::size_t{ 1024 } * 1024;

    // How a part gets to the disk; on a thread of the background, one call at a time. Tests have disks that are slow, stuck or full.
    using Write = std::function<Result<void, FileError>(ScratchFile& file, std::string_view bytes)>;
    // Each is the last thing that happens in a step, so it may drop the archive.
    struct Handlers {
        std::function<void()> onRoom; // there is room again after there was none
        std::function<void(const FileError&)> onFailure; // it can't be stored; called once, and nothing after it
    };
    using Verified = Result<VerifiedArchive, UpdateSignatureError>;

    IncomingArchive(MainThread& mainThread, std::string folder, Handlers handlers, Write write = &ScratchFile::append);
    ~IncomingArchive();
    IncomingArchive(const IncomingArchive&) = delete;
    IncomingArchive& operator=(const IncomingArchive&) = delete;

    // The steps, in their order. Makes the file, on the disk of the folder, which is made if needed; `opened` is called later.
    void open(std::function<void()> opened);
    // Requires: it is open, and there is room for these bytes.
    void append(std::string_view bytes);
    [[nodiscard]] std::size_t room() const { return waitingLimit - m_waiting.size() - m_writing; }
    // Once all is written. `done` is called later. Requires: nothing is appended from here on.
    void verify(ReleaseStatement stated, std::optional<UpdateKey> key, std::function<void(Verified)> done);

private:
    // Of whatever work is under way, of which there is one at a time.
    struct Disk {
        std::string folder;
        Write write;
        std::optional<ScratchFile> file;

        [[nodiscard]] Result<void, FileError> open();
    };

    void finishOpen(const Result<void, FileError>& outcome);
    void write();
    void finishWrite(const Result<void, FileError>& outcome);
    void startVerify();
    void finishVerify(const Verified& outcome);
    void fail(const FileError& error);

    // `work` gets the disk, and `finish` its outcome.
    template <class Outcome, class Work>
    void runThen(Work work, void (IncomingArchive::*finish)(const Outcome&));

    MainThread& m_mainThread;
    Handlers m_handlers;
    std::shared_ptr<Disk> m_disk;
    std::shared_ptr<void> m_isWanted = std::make_shared<bool>(); // held weakly by what is under way
    std::string m_waiting; // to be written when that which is under way has been
    std::size_t m_writing = 0; // bytes
    std::function<void()> m_opened; // until it is open
    // From verify on.
    ReleaseStatement m_stated;
    std::optional<UpdateKey> m_key;
    std::function<void(Verified)> m_done;
};

} // namespace tessarin
