#pragma once

#include "Platform/Files.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace tessarin
{

// Replaces files behind the caller's back on one thread of its own, one after another in the order in which they were first asked for;
// of several contents that wait for the same file only the newest is written. Any thread. The destructor writes what waits.
class BackgroundWriter
{
public:
    using Contents = std::shared_ptr<const ByteRope>;

    BackgroundWriter() = default;
    ~BackgroundWriter();
    BackgroundWriter(const BackgroundWriter&) = delete;
    BackgroundWriter& operator=(const BackgroundWriter&) = delete;

    // Null contents remove the file. Returns at once.
    void replace(const std::string& path, Contents contents);
    // Before the file is replaced the next time, keepFileAside(path, asidePath); without success it isn't replaced. Returns at once.
    void keepAsideBeforeReplacing(const std::string& path, std::string asidePath);

    // What was asked for and is not, or could not be, written: null contents for a removal; absent when the file has its say.
    [[nodiscard]] std::optional<Contents> unwritten(const std::string& path) const;

    // Returns when all that was asked for has been written or has failed. What failed before is tried once more.
    void flush();

private:
    struct Slot {
        enum class State { idle, waiting, failed };
        State state = State::idle;
        bool isBeingWritten = false; // an earlier contents, when the state is waiting
        Contents contents; // while the state is not idle, or it is being written
        std::uint64_t turn = 0; // of those that wait the lowest is the next
        std::optional<std::string> asidePath;
    };
    using Slots = std::map<std::string, Slot>;

    void enqueue(Slot& slot); // with m_mutex held
    [[nodiscard]] Slots::iterator nextSlot(); // with m_mutex held
    void run();
    void writeOne(Slots::iterator found, std::unique_lock<std::mutex>& lock);

    mutable std::mutex m_mutex; // guards all below
    std::condition_variable m_hasWork;
    std::condition_variable m_hasWritten;
    Slots m_slots; // no slot is ever removed: there are as many as there are files
    std::uint64_t m_lastTurn = 0;
    bool m_isStopping = false;
    std::thread m_thread; // started by the first request
};

} // namespace tessarin
