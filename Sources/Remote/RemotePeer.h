#pragma once

#include "Platform/SerialQueue.h"
#include "Platform/TcpConnection.h"
#include "Platform/Uuid.h"
#include "Remote/RemoteEnvelope.h"
#include "Remote/RemoteFrameReader.h"
#include "Remote/RemoteMediaQueue.h"
#include "Remote/RemoteOutbox.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

// One connection of the remote host's server. It reads frames, opens them and hands on the messages, and is closed at the first that is
// none; it writes what waits for it as fast as the other side takes it. On the server's queue only.
class RemotePeer : public std::enable_shared_from_this<RemotePeer>
{
public:
    // What a message says of whoever sent it.
    enum class Sender { hasKey, mayHaveNoKey };

    // Who has this peer. Each call may close this peer or another.
    class Owner
    {
    public:
        virtual ~Owner() = default;
        virtual void onReady(RemotePeer& peer) = 0;
        // A message that opened under the key; `byteCount` is its length.
        virtual Sender onEnvelope(RemoteEnvelope envelope, std::size_t byteCount) = 0;
        virtual void onClose(const Uuid& id) = 0;
        // After each change of `unprovenBytes`, by how much.
        virtual void onUnprovenBytes(std::ptrdiff_t change) = 0;
        // Before each message: false while no more can be taken. `resume` is called when it can.
        [[nodiscard]] virtual bool mayDeliver() = 0;
        // Null when it can't be sent.
        [[nodiscard]] virtual RemoteFrame latestSnapshotFrame() = 0;
    };

    RemotePeer(
        std::weak_ptr<Owner> owner, std::unique_ptr<TcpConnection> connection, std::string keyData, std::shared_ptr<SerialQueue> queue);
    ~RemotePeer();
    RemotePeer(const RemotePeer&) = delete;
    RemotePeer& operator=(const RemotePeer&) = delete;

    void start();
    // Each does nothing while the connection is not ready, and closes it when it takes far too little.
    void send(RemoteFrame frame);
    void sendSnapshot();
    void sendMedia(std::shared_ptr<RemoteMediaSource> source);
    void resume();
    // Lets go of everything, and tells the owner the first time.
    void close();

    [[nodiscard]] const Uuid& id() const { return m_id; }
    [[nodiscard]] bool isReady() const;
    // That are held of frames not yet whole, as long as nothing has shown that the other side has the key.
    [[nodiscard]] std::size_t unprovenBytes() const;
    // The other side has sent what only who has the key can send.
    [[nodiscard]] bool hasKey() const;
    [[nodiscard]] const RemoteOutbox& outbox() const;

private:
    // Reading, in the order of the steps.
    void receiveNext() REQUIRES(*m_queue);
    void received(const Result<std::string_view, NetworkError>& bytes) REQUIRES(*m_queue);
    void consumeAndGoOn() REQUIRES(*m_queue);
    // False for a frame that is none. Stops early when no more can be delivered.
    [[nodiscard]] bool consumeFrames() REQUIRES(*m_queue);
    [[nodiscard]] bool consume(std::string_view payload) REQUIRES(*m_queue);
    void countUnproven() REQUIRES(*m_queue);
    [[nodiscard]] bool mayDeliver() const REQUIRES(*m_queue);

    // Writing.
    void writeNext() REQUIRES(*m_queue);
    void taken(std::size_t byteCount) REQUIRES(*m_queue);
    void fetchMedia() REQUIRES(*m_queue);
    void closeWhenGivenUp() REQUIRES(*m_queue);
    void writeFailed() REQUIRES(*m_queue);
    [[nodiscard]] bool isToBeSentTo() const REQUIRES(*m_queue) { return m_isReady && !m_isWritingOver; }

    // Constant after construction.
    const std::weak_ptr<Owner> m_owner;
    const std::shared_ptr<SerialQueue> m_queue;
    const Uuid m_id = Uuid::random();
    const std::string m_keyData;

    // On the queue only.
    std::unique_ptr<TcpConnection> m_connection GUARDED_BY(*m_queue);
    bool m_isReady GUARDED_BY(*m_queue) = false;
    bool m_didClose GUARDED_BY(*m_queue) = false;
    RemoteFrameReader m_buffer GUARDED_BY(*m_queue);
    bool m_isReceiving GUARDED_BY(*m_queue) = false;
    bool m_hasEnded GUARDED_BY(*m_queue) = false; // the other side sends no more
    bool m_hasKey GUARDED_BY(*m_queue) = false; // the other side has shown that
    std::size_t m_unprovenBytes GUARDED_BY(*m_queue) = 0;
    bool m_isWritingOver GUARDED_BY(*m_queue) = false; // the other side takes no more
    RemoteOutbox m_outbox GUARDED_BY(*m_queue);
    std::shared_ptr<RemoteMediaQueue> m_media GUARDED_BY(*m_queue);
};

} // namespace tessarin
