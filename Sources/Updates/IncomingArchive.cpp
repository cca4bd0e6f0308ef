#include "Updates/IncomingArchive.h"

#include "Updates/BackgroundStep.h"

#include <cassert>
#include <utility>

namespace tessarin
{

IncomingArchive::IncomingArchive(MainThread& mainThread, std::string folder, Handlers handlers, Write write)
    : m_mainThread(mainThread)
    , m_handlers(std::move(handlers))
    , m_disk(std::make_shared<Disk>(Disk{ std::move(folder), std::move(write), std::nullopt }))
{
}

// Giving up a large file keeps a disk busy too. At the end of the program nobody does it, and the system does.
IncomingArchive::~IncomingArchive()
{
    runInBackground([disk = std::move(m_disk)] {}, AtEnd::dropped);
}

template <class Outcome, class Work>
void IncomingArchive::runThen(Work work, void (IncomingArchive::*finish)(const Outcome&))
{
    runInBackgroundThen(
        m_mainThread, m_isWanted, [disk = m_disk, work = std::move(work)] { return work(*disk); },
        [this, finish](const Outcome& outcome) { (this->*finish)(outcome); }, AtEnd::dropped);
}

Result<void, FileError> IncomingArchive::Disk::open()
{
    auto made = ScratchFile::make(folder);
    if (!made) {
        return Failure{ made.error() };
    }
    file = std::move(made).value();
    return {};
}

void IncomingArchive::open(std::function<void()> opened)
{
    m_opened = std::move(opened);
    runThen([](Disk& disk) { return disk.open(); }, &IncomingArchive::finishOpen);
}

void IncomingArchive::finishOpen(const Result<void, FileError>& outcome)
{
    const auto opened = std::exchange(m_opened, {});
    if (outcome) {
        opened();
    } else {
        fail(outcome.error());
    }
}

void IncomingArchive::append(std::string_view bytes)
{
    assert(!m_opened && !m_done && bytes.size() <= room());
    m_waiting += bytes;
    if (m_writing == 0) {
        write();
    }
}

// All that waits at once: the slower the disk is, the larger are the parts that it gets.
void IncomingArchive::write()
{
    const auto part = std::make_shared<const std::string>(std::exchange(m_waiting, {}));
    m_writing = part->size();
    runThen([part](Disk& disk) { return disk.write(*disk.file, *part); }, &IncomingArchive::finishWrite);
}

void IncomingArchive::finishWrite(const Result<void, FileError>& outcome)
{
    if (!outcome) {
        fail(outcome.error());
        return;
    }
    const bool wasFull = room() == 0;
    m_writing = 0;
    if (!m_waiting.empty()) {
        write();
    } else if (m_done) {
        startVerify();
    }
    if (wasFull && room() > 0) {
        const auto onRoom = m_handlers.onRoom;
        onRoom();
    }
}

void IncomingArchive::verify(ReleaseStatement stated, std::optional<UpdateKey> key, std::function<void(Verified)> done)
{
    m_stated = std::move(stated);
    m_key = key;
    m_done = std::move(done);
    if (m_writing == 0) {
        startVerify();
    }
}

void IncomingArchive::startVerify()
{
    const auto isToEnd = [isWanted = std::weak_ptr<void>(m_isWanted)] { return isWanted.expired() || isBackgroundWorkEnding(); };
    runThen(
        [stated = m_stated, key = m_key, isToEnd](Disk& disk) {
            const OpenedFile file = std::move(*disk.file).finished();
            return UpdateSignature::verify(file, stated, key, isToEnd);
        },
        &IncomingArchive::finishVerify);
}

void IncomingArchive::finishVerify(const Verified& outcome)
{
    const auto done = std::exchange(m_done, {});
    done(outcome);
}

void IncomingArchive::fail(const FileError& error)
{
    const auto onFailure = std::exchange(m_handlers.onFailure, {});
    onFailure(error);
}

} // namespace tessarin
