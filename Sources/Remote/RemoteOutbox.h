#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessarin
{

// A sealed frame, which serves every device that is to get it.
using RemoteFrame = std::shared_ptr<const std::string>;

// What waits to be written to one device. Messages go in order, and so do chunks of files that have been read ahead; the two take turns, so
// that neither a film nor a task at work keeps the other waiting on a slow line. The latest snapshot is no frame before its turn comes, and
// a newer one takes its place at the end of the messages: what a device gets is in order, and never stale.
// One thread at a time.
class RemoteOutbox
{
public:
    // Beyond it a device is given up when it has taken nothing from one message to another; beyond the second in any case.
    static constexpr std::size_t patienceLimit = 64 * 1024 * 1024; // bytes
    static constexpr std::size_t byteLimit = 128 * 1024 * 1024;

    void add(RemoteFrame frame);
    void addSnapshot();
    void addChunk(RemoteFrame frame);
    // To be asked once after each message that was added: whether the device takes too little.
    [[nodiscard]] bool isGivenUp();

    // The frame to be written next, which is under way from then on; null when nothing waits. `makeSnapshot` may give null, for a snapshot
    // that can't be sent. Requires: none is under way.
    [[nodiscard]] RemoteFrame begin(const std::function<RemoteFrame()>& makeSnapshot);
    // So many bytes of the one that is under way have been written. True when that was the last of them.
    [[nodiscard]] bool take(std::size_t byteCount);
    [[nodiscard]] bool isUnderWay() const { return m_underWay != nullptr; }

    // Of what is a frame by now.
    [[nodiscard]] std::size_t waitingBytes() const { return m_waitingBytes; }
    // All that are kept alive for this device, the one that is under way first.
    [[nodiscard]] std::vector<RemoteFrame> heldFrames() const;
    // When the device took something last, or was given the first it could take.
    using Clock = std::chrono::steady_clock;
    [[nodiscard]] Clock::time_point lastTaken() const { return m_lastTaken; }
    // That have not been written whole.
    [[nodiscard]] std::size_t waitingChunks() const { return m_chunks.size() + (m_isChunkUnderWay ? 1 : 0); }

private:
    [[nodiscard]] RemoteFrame nextMessage(const std::function<RemoteFrame()>& makeSnapshot);

    using Messages = std::list<RemoteFrame>; // null in the place of the snapshot
    Messages m_messages;
    std::optional<Messages::iterator> m_snapshot;
    std::deque<RemoteFrame> m_chunks;
    std::size_t m_waitingBytes = 0;
    RemoteFrame m_underWay;
    std::size_t m_underWayBytes = 0; // of it, not written yet
    Clock::time_point m_lastTaken;
    bool m_isChunkUnderWay = false;
    bool m_wasMessage = false; // begun last
    std::uint64_t m_takenBytes = 0; // ever
    std::optional<std::uint64_t> m_takenWhenBehind; // when it was beyond the first limit last
};

} // namespace tessarin
