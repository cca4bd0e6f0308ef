#pragma once

#include "Platform/MainThread.h"
#include "Remote/RemoteEnvelope.h"
#include "Remote/RemoteHostState.h"
#include "Remote/RemoteMedia.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tessarin
{

// The TCP server through which paired devices watch and drive the program. It knows nothing of the program: it is given a key, snapshots
// and messages, and hands on what comes in. There is no handshake: a connection is ready as soon as it stands, gets the latest snapshot,
// and is closed at its first frame that does not open under the key. All messages go to all devices.
//
// Each operation may be called from any thread, returns at once and does its work later on one queue, in order. The callbacks run on
// the main thread, in order; they are set before the first `start`, and none is called after the server is gone.
//
// What a device can cost is bounded: a snapshot that is not yet on the wire gives way to a newer one; a file is read as a device takes it;
// a device that takes nothing while more than 64 MiB wait for it is closed; unfinished frames of those that have not yet sent one that
// opens hold 64 MiB together at most, beyond that the one holding most is closed; so do the frames that wait for them, beyond that the
// one that has taken nothing for longest is closed; reading waits while the main thread is far behind.
class RemoteHostServer
{
public:
    static constexpr std::uint16_t defaultPort = 43765;

    // Made and destroyed on the main thread, which outlives the server.
    explicit RemoteHostServer(MainThread& mainThread);
    ~RemoteHostServer(); // closes everything before it returns
    RemoteHostServer(const RemoteHostServer&) = delete;
    RemoteHostServer& operator=(const RemoteHostServer&) = delete;

    std::function<void(const RemoteHostState&)> onStateChange;
    std::function<void(std::size_t)> onClientCountChange; // how many are connected, told also when it is the same
    std::function<void(const RemoteEnvelope&)> onMessage; // of the current version, each id once

    // Closes what is there and listens anew under this key. Fails through onStateChange. After this call and after `stop` no message comes
    // from a device of before, however far on its way it was.
    void start(std::string keyData, std::uint16_t port = defaultPort);
    void stop();
    // The state that every device gets now, and each later one when it connects, also after a restart.
    void update(RemoteSnapshot snapshot);
    void send(RemoteEnvelope envelope);
    // The chunks of a file, to those that are connected now. Nothing when it can't be read.
    void sendMedia(RemoteMedia media);

private:
    struct Implementation;
    std::shared_ptr<Implementation> m_implementation;
};

} // namespace tessarin
