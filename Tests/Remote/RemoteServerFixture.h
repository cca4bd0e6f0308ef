#pragma once

#include "Platform/MainThread.h"
#include "Remote/RemoteHostServer.h"
#include "RemoteDevice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace tessarin
{

inline std::string stateText(const RemoteHostState& state)
{
    switch (state.kind()) {
    case RemoteHostState::Kind::listening:
        return "listening " + std::to_string(state.port());
    case RemoteHostState::Kind::failed:
        return "failed: " + state.failureText();
    case RemoteHostState::Kind::disabled:
        return "disabled";
    case RemoteHostState::Kind::starting:
        return "starting";
    }
    return {};
}

inline RemoteSnapshot snapshotNamed(std::string hostName, std::size_t entryBytes = 0)
{
    RemoteSnapshot snapshot;
    snapshot.hostName = std::move(hostName);
    if (entryBytes > 0) {
        RemoteThread thread;
        thread.entries.emplace_back(std::vector<RemoteChatEntry>{ { "1", "assistant", std::string(entryBytes, 'x'), {}, {}, {}, 0 } });
        snapshot.workspaces = { { "W", "w", "/w", { std::move(thread) } } };
    }
    return snapshot;
}

// Of this process, in bytes.
inline std::size_t residentMemory()
{
    std::size_t all = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// A server on a port of its own, whose callbacks are recorded. The thread of the test is the main thread.
class RemoteServerFixture : public testing::Test
{
protected:
    // For each wait: far above what the slowest build needs, so that only what never comes is late.
    static constexpr std::chrono::seconds bound{ 60 };

    RemoteServerFixture()
    {
        server->onStateChange = [this](const RemoteHostState& state) { events.push_back(stateText(state)); };
        server->onClientCountChange = [this](std::size_t count) {
            events.push_back("clients " + std::to_string(count));
            clientCount = count;
        };
        server->onMessage = [this](const RemoteEnvelope& envelope) {
            events.push_back("message " + envelope.id);
            messages.push_back(envelope);
        };
    }

    // Runs the main thread until the condition holds; false when the time is over before.
    bool pumpUntil(const std::function<bool()>& condition)
    {
        const auto end = std::chrono::steady_clock::now() + bound;
        while (!condition()) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
            if (left.count() <= 0 || !mainThread.waitAndDrain(left)) {
                return condition();
            }
        }
        return true;
    }
    bool pumpUntilEvent(const std::string& event)
    {
        return pumpUntil([&] { return !events.empty() && events.back() == event; });
    }
    bool pumpUntilClients(std::size_t count)
    {
        return pumpUntil([&] { return clientCount == count; });
    }

    // Forgets the events of before.
    bool startListening() { return startListening(key); }
    bool startListening(const std::string& withKey)
    {
        events.clear();
        server->start(withKey, port);
        return pumpUntilEvent("listening " + std::to_string(port));
    }
    // A device that is connected, and counted.
    RemoteDevice connectDevice(const char* address = "127.0.0.1")
    {
        RemoteDevice device(port, key, address);
        EXPECT_TRUE(device.client.isConnected());
        EXPECT_TRUE(pumpUntilClients(clientCount + 1));
        return device;
    }
    // A message that arrives shows that the connection lives, and that what was sent before it was handled.
    bool delivers(const RemoteDevice& device)
    {
        const RemoteEnvelope envelope = messageOf("hello");
        return device.send(envelope) && pumpUntil([&] { return !messages.empty() && messages.back().id == envelope.id; });
    }
    [[nodiscard]] std::vector<std::string> messageIDs() const
    {
        std::vector<std::string> ids;
        for (const RemoteEnvelope& envelope : messages) {
            ids.push_back(envelope.id);
        }
        return ids;
    }

    const std::string key = std::string(RemoteCrypto::keyByteCount, 'k');
    const std::uint16_t port = freePort();
    std::vector<std::string> events;
    std::vector<RemoteEnvelope> messages;
    std::size_t clientCount = 0;
    MainThread mainThread;
    std::unique_ptr<RemoteHostServer> server = std::make_unique<RemoteHostServer>(mainThread);
};

} // namespace tessarin
