#include "Platform/BackgroundWriter.h"

#include <algorithm>
#include <pthread.h>
#include <signal.h>

namespace tessarin
{

namespace
{

// Signals are the main thread's business.
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_before;
};

std::string folderOf(const std::string& path)
{
    return path.substr(0, path.rfind('/'));
}

Result<void, FileError> replaceFile(const std::string& path, const BackgroundWriter::Contents& contents)
{
    if (!contents) {
        return removeFile(path);
    }
    if (auto created = createDirectories(folderOf(path)); !created) {
        return created;
    }
    return writeFileAtomicallyThrough(path + ".new", path, *contents);
}

} // namespace

BackgroundWriter::~BackgroundWriter()
{
    flush();
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_hasWork.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void BackgroundWriter::replace(const std::string& path, Contents contents)
{
    const std::lock_guard lock(m_mutex);
    Slot& slot = m_slots[path];
    slot.contents = std::move(contents);
    enqueue(slot);
}

void BackgroundWriter::keepAsideBeforeReplacing(const std::string& path, std::string asidePath)
{
    const std::lock_guard lock(m_mutex);
    m_slots[path].asidePath = std::move(asidePath);
}

std::optional<BackgroundWriter::Contents> BackgroundWriter::unwritten(const std::string& path) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_slots.find(path);
    if (found == m_slots.end() || (found->second.state == Slot::State::idle && !found->second.isBeingWritten)) {
        return std::nullopt;
    }
    return found->second.contents;
}

void BackgroundWriter::flush()
{
    std::unique_lock lock(m_mutex);
    for (auto& [path, slot] : m_slots) {
        if (slot.state == Slot::State::failed) {
            enqueue(slot);
        }
    }
    m_hasWritten.wait(lock, [this] {
        return std::all_of(m_slots.begin(), m_slots.end(),
            [](const auto& entry) { return entry.second.state != Slot::State::waiting && !entry.second.isBeingWritten; });
    });
}

void BackgroundWriter::enqueue(Slot& slot)
{
    if (slot.state != Slot::State::waiting) {
        slot.state = Slot::State::waiting;
        slot.turn = ++m_lastTurn;
    }
    if (!m_thread.joinable()) {
        const SignalsBlocked blocked;
        m_thread = std::thread([this] { run(); });
    }
    m_hasWork.notify_one();
}

BackgroundWriter::Slots::iterator BackgroundWriter::nextSlot()
{
    auto next = m_slots.end();
    for (auto slot = m_slots.begin(); slot != m_slots.end(); ++slot) {
        if (slot->second.state == Slot::State::waiting && (next == m_slots.end() || slot->second.turn < next->second.turn)) {
            next = slot;
        }
    }
    return next;
}

void BackgroundWriter::run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        const auto next = nextSlot();
        if (next != m_slots.end()) {
            writeOne(next, lock);
            m_hasWritten.notify_all();
        } else if (m_isStopping) {
            return;
        } else {
            m_hasWork.wait(lock);
        }
    }
}

void BackgroundWriter::writeOne(Slots::iterator found, std::unique_lock<std::mutex>& lock)
{
    const std::string& path = found->first;
    Slot& slot = found->second;
    Contents contents = slot.contents;
    const std::optional<std::string> asidePath = slot.asidePath;
    slot.state = Slot::State::idle;
    slot.isBeingWritten = true;
    lock.unlock();

    const bool isKept = !asidePath || keepFileAside(path, *asidePath).isSuccess();
    // A failed write says nothing, by design: the value stays visible, and the file of before is still there.
    const bool isWritten = isKept && replaceFile(path, contents).isSuccess();

    lock.lock();
    slot.isBeingWritten = false;
    if (isKept && slot.asidePath == asidePath) {
        slot.asidePath.reset();
    }
    if (slot.state == Slot::State::idle) {
        slot.state = isWritten ? Slot::State::idle : Slot::State::failed;
        if (isWritten) {
            slot.contents.reset();
        }
    }
    // What may be a hundred megabytes is given back by this thread, and not while others wait for it.
    lock.unlock();
    contents.reset();
    lock.lock();
}

} // namespace tessarin
