#include "Remote/RemoteHostServer.h"

#include "Platform/TcpListener.h"
#include "Remote/RemoteCoder.h"
#include "Remote/RemoteCrypto.h"
#include "Remote/RemoteHostEvents.h"
#include "Remote/RemoteMessageMemory.h"
#include "Remote/RemotePeer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <map>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

namespace tessarin
{

namespace
{

constexpr std::size_t unprovenByteLimit = 64 * 1024 * 1024;

// What only the host says: a device that says it may just have sent back what it heard, without the key.
bool isOfHost(const RemoteEnvelope& envelope)
{
    static constexpr std::array ofHost{ RemoteMessageType::snapshot, RemoteMessageType::mediaChunk, RemoteMessageType::error };
    return std::find(ofHost.begin(), ofHost.end(), envelope.type) != ofHost.end();
}

std::string withAdvice(const NetworkError& error)
{
    const std::string first = error.code == EADDRINUSE ? "Quit that program, then turn" : "Turn";
    return error.text + " " + first + " the remote host off and on.";
}

} // namespace

struct RemoteHostServer::Implementation final : RemotePeer::Owner, std::enable_shared_from_this<Implementation> {
    Implementation(MainThread& mainThread, RemoteHostServer* server)
        : receiver(std::make_shared<RemoteHostServer* const>(server))
        , events(std::make_shared<RemoteHostEvents>(mainThread, queue, receiver))
    {
    }

    // The operations.
    void start(std::string key, std::uint16_t port) REQUIRES(*queue);
    void stopOnQueue(bool notify) REQUIRES(*queue);
    void update(RemoteEnvelope snapshot) REQUIRES(*queue);
    void broadcast(const RemoteEnvelope& envelope) REQUIRES(*queue);
    void sendMedia(RemoteMedia media) REQUIRES(*queue);

    // What happens.
    void accept(std::unique_ptr<TcpConnection> connection) REQUIRES(*queue);
    void listenerFailed(const NetworkError& error) REQUIRES(*queue);
    void mainThreadCaughtUp() REQUIRES(*queue);
    void onReady(RemotePeer& peer) override;
    [[nodiscard]] RemotePeer::Sender onEnvelope(RemoteEnvelope envelope, std::size_t byteCount) override;
    void onClose(const Uuid& id) override;
    void onUnprovenBytes(std::ptrdiff_t change) override;
    [[nodiscard]] bool mayDeliver() override;
    [[nodiscard]] RemoteFrame latestSnapshotFrame() override;

    [[nodiscard]] TcpListener::Callbacks listenerCallbacks();
    [[nodiscard]] RemoteFrame makeFrame(const RemoteEnvelope& envelope) REQUIRES(*queue);
    void post(RemoteHostEvents::Event event, std::size_t byteCount = 0) REQUIRES(*queue);
    void notifyState(RemoteHostState state) REQUIRES(*queue);
    void notifyClientCount() REQUIRES(*queue);
    [[nodiscard]] std::uint64_t beginRun() { return ++newestRun; }
    void closeUnprovenThatHoldTooMuch() REQUIRES(*queue);
    [[nodiscard]] std::size_t clientCount() const REQUIRES(*queue);
    [[nodiscard]] std::vector<std::shared_ptr<RemotePeer>> allPeers() const REQUIRES(*queue);
    // Calls `work` with each peer; it may close any of them.
    template <class Work>
    void withEachPeer(const Work& work) REQUIRES(*queue);

    // Constant after construction.
    const std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("com.local.tessarin.remote-host");
    // Main thread only: goes with the server, so that no callback is called after that.
    std::shared_ptr<RemoteHostServer* const> receiver;
    const std::shared_ptr<RemoteHostEvents> events;

    // Counts the calls of `start` and `stop`. Any thread.
    std::atomic<std::uint64_t> newestRun = 0;

    // On the queue only.
    std::unique_ptr<TcpListener> listener GUARDED_BY(*queue);
    std::map<Uuid, std::shared_ptr<RemotePeer>> peers GUARDED_BY(*queue);
    RemoteMessageMemory recentMessages GUARDED_BY(*queue);
    // Apart from those of devices: frames of the host sent back by somebody without the key must not make it forget what devices sent.
    RemoteMessageMemory reflectedMessages GUARDED_BY(*queue);
    std::uint64_t run GUARDED_BY(*queue) = 0; // in which the peers connect
    Uuid lastServed GUARDED_BY(*queue); // the peer that had its turn last after the main thread had caught up
    std::optional<RemoteEnvelope> latestSnapshot GUARDED_BY(*queue);
    std::optional<RemoteFrame> snapshotFrame GUARDED_BY(*queue); // of it under the key, once a peer has needed it; null when it can't be
    RemoteEncoder encoder GUARDED_BY(*queue);
    std::string keyData GUARDED_BY(*queue);
    std::size_t unprovenBytes GUARDED_BY(*queue) = 0; // of all peers
};

void RemoteHostServer::Implementation::start(std::string key, std::uint16_t port)
{
    stopOnQueue(false);
    if (key.size() != RemoteCrypto::keyByteCount) {
        return notifyState(RemoteHostState::failed("Could not create a valid pairing key."));
    }
    keyData = std::move(key);
    notifyState(RemoteHostState::starting());
    auto opened = TcpListener::listen(queue, port, listenerCallbacks());
    if (!opened) {
        return notifyState(RemoteHostState::failed(withAdvice(opened.error())));
    }
    listener = std::move(opened).value();
    notifyState(RemoteHostState::listening(port));
}

TcpListener::Callbacks RemoteHostServer::Implementation::listenerCallbacks()
{
    TcpListener::Callbacks callbacks;
    callbacks.accepted = [weak = weak_from_this()](std::unique_ptr<TcpConnection> connection) {
        if (const auto self = weak.lock()) {
            self->queue->assertCurrent();
            self->accept(std::move(connection));
        }
    };
    callbacks.failed = [weak = weak_from_this()](const NetworkError& error) {
        if (const auto self = weak.lock()) {
            self->queue->assertCurrent();
            self->listenerFailed(error);
        }
    };
    return callbacks;
}

// What a later connection needs stays, also across a change of the key: the latest snapshot, and the ids that are known.
void RemoteHostServer::Implementation::stopOnQueue(bool notify)
{
    listener.reset();
    snapshotFrame.reset();
    for (const auto& [id, peer] : std::exchange(peers, {})) {
        peer->close();
    }
    notifyClientCount();
    if (notify) {
        notifyState(RemoteHostState::disabled());
    }
}

void RemoteHostServer::Implementation::update(RemoteEnvelope snapshot)
{
    latestSnapshot = std::move(snapshot);
    snapshotFrame.reset();
    withEachPeer([](RemotePeer& peer) { peer.sendSnapshot(); });
    closeUnprovenThatHoldTooMuch();
}

void RemoteHostServer::Implementation::broadcast(const RemoteEnvelope& envelope)
{
    if (clientCount() == 0) {
        return;
    }
    // One that can't be encoded or sealed reaches nobody, and nobody is told.
    if (const RemoteFrame frame = makeFrame(envelope)) {
        withEachPeer([&frame](RemotePeer& peer) { peer.send(frame); });
        closeUnprovenThatHoldTooMuch();
    }
}

void RemoteHostServer::Implementation::sendMedia(RemoteMedia media)
{
    const auto source = std::make_shared<RemoteMediaSource>(queue, std::move(media), keyData);
    withEachPeer([&source](RemotePeer& peer) { peer.sendMedia(source); });
}

// A frame that is under way stays until the last device has taken it: whoever never reads would keep one of each state that there was.
void RemoteHostServer::Implementation::closeUnprovenThatHoldTooMuch()
{
    for (;;) {
        std::unordered_set<RemoteFrame> held;
        std::size_t byteCount = 0;
        std::shared_ptr<RemotePeer> slowest;
        for (const auto& [id, peer] : peers) {
            const auto frames = peer->hasKey() ? std::vector<RemoteFrame>() : peer->outbox().heldFrames();
            for (const RemoteFrame& frame : frames) {
                byteCount += held.insert(frame).second ? frame->size() : 0U;
            }
            if (!frames.empty() && (!slowest || peer->outbox().lastTaken() < slowest->outbox().lastTaken())) {
                slowest = peer;
            }
        }
        if (byteCount <= unprovenByteLimit) {
            return;
        }
        slowest->close();
    }
}

void RemoteHostServer::Implementation::accept(std::unique_ptr<TcpConnection> connection)
{
    const auto peer = std::make_shared<RemotePeer>(weak_from_this(), std::move(connection), keyData, queue);
    peers.emplace(peer->id(), peer);
    peer->start();
}

void RemoteHostServer::Implementation::listenerFailed(const NetworkError& error)
{
    stopOnQueue(false);
    notifyState(RemoteHostState::failed(withAdvice(error)));
}

void RemoteHostServer::Implementation::mainThreadCaughtUp()
{
    if (listener) {
        listener->resume();
    }
    // Each time another one first, so that a few that say much leave the others their turn.
    std::vector<std::shared_ptr<RemotePeer>> inTurn = allPeers();
    const auto next = std::find_if(inTurn.begin(), inTurn.end(), [last = lastServed](const auto& peer) { return peer->id() > last; });
    std::rotate(inTurn.begin(), next, inTurn.end());
    for (const auto& peer : inTurn) {
        if (events->isBehind()) {
            return;
        }
        lastServed = peer->id();
        peer->resume();
    }
}

void RemoteHostServer::Implementation::onReady(RemotePeer& peer)
{
    queue->assertCurrent();
    notifyClientCount();
    if (latestSnapshot) {
        peer.sendSnapshot();
    }
}

RemotePeer::Sender RemoteHostServer::Implementation::onEnvelope(RemoteEnvelope envelope, std::size_t byteCount)
{
    queue->assertCurrent();
    // Whoever has no key can still repeat what was said, by a device or by this host.
    const bool isReflected = isOfHost(envelope);
    RemoteMessageMemory& memory = isReflected ? reflectedMessages : recentMessages;
    const RemoteMessageMemory& other = isReflected ? recentMessages : reflectedMessages;
    if (envelope.version != RemoteEnvelope::currentVersion || other.contains(envelope.id) || !memory.insert(envelope.id)) {
        return RemotePeer::Sender::mayHaveNoKey;
    }
    const auto sender = isReflected ? RemotePeer::Sender::mayHaveNoKey : RemotePeer::Sender::hasKey;
    post(
        [envelope = std::move(envelope), run = run](RemoteHostServer& server) {
            if (server.onMessage && run == server.m_implementation->newestRun) {
                server.onMessage(envelope);
            }
        },
        byteCount);
    return sender;
}

void RemoteHostServer::Implementation::onClose(const Uuid& id)
{
    queue->assertCurrent();
    peers.erase(id);
    notifyClientCount();
}

void RemoteHostServer::Implementation::onUnprovenBytes(std::ptrdiff_t change)
{
    queue->assertCurrent();
    unprovenBytes += static_cast<std::size_t>(change);
    if (unprovenBytes <= unprovenByteLimit) {
        return;
    }
    const auto most = std::max_element(peers.begin(), peers.end(),
        [](const auto& left, const auto& right) { return left.second->unprovenBytes() < right.second->unprovenBytes(); });
    if (most != peers.end()) {
        const auto peer = most->second; // which leaves the table
        peer->close();
    }
}

bool RemoteHostServer::Implementation::mayDeliver()
{
    queue->assertCurrent();
    return !events->isBehind();
}

RemoteFrame RemoteHostServer::Implementation::latestSnapshotFrame()
{
    queue->assertCurrent();
    if (!latestSnapshot) {
        return nullptr;
    }
    if (!snapshotFrame) {
        snapshotFrame = makeFrame(*latestSnapshot);
    }
    return *snapshotFrame;
}

RemoteFrame RemoteHostServer::Implementation::makeFrame(const RemoteEnvelope& envelope)
{
    const auto bytes = encoder.encode(envelope, RemoteCrypto::maximumPlaintextSize);
    if (!bytes) {
        return nullptr;
    }
    auto frame = RemoteCrypto::seal(*bytes, keyData);
    return frame ? std::make_shared<const std::string>(std::move(frame).value()) : nullptr;
}

void RemoteHostServer::Implementation::post(RemoteHostEvents::Event event, std::size_t byteCount)
{
    events->post(std::move(event), byteCount);
    // Each connection is an event, too.
    if (listener && events->isBehind()) {
        listener->pause();
    }
}

void RemoteHostServer::Implementation::notifyState(RemoteHostState state)
{
    post([state = std::move(state)](RemoteHostServer& server) {
        if (server.onStateChange) {
            server.onStateChange(state);
        }
    });
}

void RemoteHostServer::Implementation::notifyClientCount()
{
    post([count = clientCount()](RemoteHostServer& server) {
        if (server.onClientCountChange) {
            server.onClientCountChange(count);
        }
    });
}

std::size_t RemoteHostServer::Implementation::clientCount() const
{
    std::size_t count = 0;
    for (const auto& [id, peer] : peers) {
        count += peer->isReady() ? 1U : 0U;
    }
    return count;
}

template <class Work>
void RemoteHostServer::Implementation::withEachPeer(const Work& work)
{
    // A copy: whoever closes leaves the table.
    for (const auto& peer : allPeers()) {
        work(*peer);
    }
}

std::vector<std::shared_ptr<RemotePeer>> RemoteHostServer::Implementation::allPeers() const
{
    std::vector<std::shared_ptr<RemotePeer>> all;
    all.reserve(peers.size());
    for (const auto& [id, peer] : peers) {
        all.push_back(peer);
    }
    return all;
}

RemoteHostServer::RemoteHostServer(MainThread& mainThread) : m_implementation(std::make_shared<Implementation>(mainThread, this))
{
    m_implementation->events->onCaughtUp = [weak = m_implementation->weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->queue->assertCurrent();
            self->mainThreadCaughtUp();
        }
    };
}

RemoteHostServer::~RemoteHostServer()
{
    m_implementation->receiver.reset();
    // Waited for, because the main thread may go next.
    m_implementation->queue->sync([this] {
        m_implementation->queue->assertCurrent();
        m_implementation->stopOnQueue(false);
    });
}

void RemoteHostServer::start(std::string keyData, std::uint16_t port)
{
    m_implementation->queue->post([self = m_implementation, keyData = std::move(keyData), port, run = m_implementation->beginRun()] {
        self->queue->assertCurrent();
        self->run = run;
        self->start(keyData, port);
    });
}

void RemoteHostServer::stop()
{
    m_implementation->queue->post([self = m_implementation, run = m_implementation->beginRun()] {
        self->queue->assertCurrent();
        self->run = run;
        self->stopOnQueue(true);
    });
}

void RemoteHostServer::update(RemoteSnapshot snapshot)
{
    m_implementation->queue->post([self = m_implementation, envelope = RemoteEnvelope::makeSnapshot(std::move(snapshot))] {
        self->queue->assertCurrent();
        self->update(envelope);
    });
}

void RemoteHostServer::send(RemoteEnvelope envelope)
{
    m_implementation->queue->post([self = m_implementation, envelope = std::move(envelope)] {
        self->queue->assertCurrent();
        self->broadcast(envelope);
    });
}

void RemoteHostServer::sendMedia(RemoteMedia media)
{
    m_implementation->queue->post([self = m_implementation, media = std::move(media)] {
        self->queue->assertCurrent();
        self->sendMedia(media);
    });
}

} // namespace tessarin
