#pragma once

#include "../Remote/RemoteDevice.h"
#include "AppModelImagineFixture.h"
#include "Remote/RemoteHostConfiguration.h"

#include <atomic>
#include <chrono>
#include <list>
#include <thread>

namespace tessarin::testing
{

// A main thread whose clock moves when a test moves it. Stays for good, as the others of the model's tests do.
struct HandTimedMainThread {
    std::atomic<MainThread::Clock::duration::rep> elapsed = 0;
    std::atomic<int> wakes = 0; // how often it was told that there is something to run
    MainThread thread{ [this] { ++wakes; }, [this] { return MainThread::Clock::time_point(MainThread::Clock::duration(elapsed.load())); } };

    static HandTimedMainThread& makeImmortal()
    {
        static auto& all = *new std::list<HandTimedMainThread>;
        return all.emplace_back();
    }
};

// A paired device, which keeps what it hears.
class PairedDevice
{
public:
    PairedDevice(std::uint16_t port, const std::string& key) : m_device(port, key) { }

    [[nodiscard]] bool isConnected() const { return m_device.client.isConnected(); }
    void send(const RemoteEnvelope& message) const { EXPECT_TRUE(m_device.send(message)); }
    // Takes what has come, without waiting for more.
    void listen()
    {
        while (!hasEnded && !m_device.client.isSilent()) {
            if (auto message = m_device.receive()) {
                heard.push_back(std::move(*message));
            } else {
                hasEnded = true;
            }
        }
    }
    // Of all that was heard.
    [[nodiscard]] std::vector<RemoteSnapshot> snapshots() const
    {
        std::vector<RemoteSnapshot> result;
        for (const RemoteEnvelope& message : heard) {
            if (message.snapshot) {
                result.push_back(**message.snapshot);
            }
        }
        return result;
    }
    [[nodiscard]] std::vector<std::string> errors() const
    {
        std::vector<std::string> result;
        for (const RemoteEnvelope& message : heard) {
            if (message.type == RemoteMessageType::error) {
                result.push_back(message.text.value_or("no text"));
            }
        }
        return result;
    }
    [[nodiscard]] std::vector<RemoteEnvelope> chunks() const
    {
        std::vector<RemoteEnvelope> result;
        for (const RemoteEnvelope& message : heard) {
            if (message.type == RemoteMessageType::mediaChunk) {
                result.push_back(message);
            }
        }
        return result;
    }

    std::vector<RemoteEnvelope> heard;
    bool hasEnded = false; // the host has closed the connection

private:
    RemoteDevice m_device;
};

// A model whose remote host listens on a port of its own, and devices that are connected to it by real sockets.
class AppModelRemoteTest : public AppModelImagineTest
{
protected:
    AppModelRemoteTest() : AppModelRemoteTest(HandTimedMainThread::makeImmortal()) { }
    explicit AppModelRemoteTest(HandTimedMainThread& time) : AppModelImagineTest(&time.thread), m_time(time) { remotePort = freePort(); }

    // Opens a project with these programs, turns the host on, and connects the device.
    void openRemote(std::initializer_list<std::string_view> programs = { "grok" })
    {
        openProject(programs);
        turnOn();
        connect();
    }
    void turnOn()
    {
        model->setRemoteEnabled(true);
        waitForHost(RemoteHostState::Kind::listening);
    }
    void waitForHost(RemoteHostState::Kind kind)
    {
        waitUntil([&] { return model->remoteHostState().kind() == kind; }, "a state of the remote host");
    }
    [[nodiscard]] std::string key() const
    {
        return secrets.find(RemoteHostConfiguration::secretService, RemoteHostConfiguration::secretAccount).value_or("");
    }
    void waitForKey()
    {
        waitUntil([&] { return model->remotePairingURL().has_value(); }, "the key");
    }
    // The device of the test, anew.
    void connect() { device = connected(); }
    [[nodiscard]] std::unique_ptr<PairedDevice> connected()
    {
        const std::size_t before = model->remoteClientCount();
        auto result = std::make_unique<PairedDevice>(remotePort, key());
        EXPECT_TRUE(result->isConnected());
        waitUntil([&] { return model->remoteClientCount() > before; }, "the device to be counted");
        return result;
    }
    // Until the device has heard what the condition asks for.
    template <class Condition>
    void hear(Condition condition, const char* what = "what the device waits for")
    {
        waitUntil(
            [&] {
                device->listen();
                return condition();
            },
            what);
    }

    [[nodiscard]] static RemoteEnvelope message(std::string_view type)
    {
        RemoteEnvelope result;
        result.type = type;
        return result;
    }
    // About the selected task.
    [[nodiscard]] RemoteEnvelope taskMessage(std::string_view type) const
    {
        RemoteEnvelope result = message(type);
        result.workspaceID = model->selectedWorkspaceID()->text();
        result.threadID = model->selectedThreadID()->text();
        return result;
    }
    [[nodiscard]] RemoteEnvelope prompt(const std::string& text) const
    {
        RemoteEnvelope result = taskMessage(RemoteMessageType::prompt);
        result.text = text;
        return result;
    }
    [[nodiscard]] static RemoteEnvelope providerMode(const std::string& mode)
    {
        RemoteEnvelope result = message(RemoteMessageType::setProviderMode);
        result.providerMode = mode;
        return result;
    }
    [[nodiscard]] static RemoteEnvelope permissionMode(const std::string& mode)
    {
        RemoteEnvelope result = message(RemoteMessageType::setPermissionMode);
        result.permissionMode = mode;
        return result;
    }
    [[nodiscard]] static RemoteEnvelope generate(const std::string& text, const std::string& kind)
    {
        RemoteEnvelope result = message(RemoteMessageType::imagineGenerate);
        result.text = text;
        result.mediaKind = kind;
        return result;
    }
    [[nodiscard]] static std::string lowerCased(std::string text)
    {
        std::transform(text.begin(), text.end(), text.begin(), [](unsigned char each) { return static_cast<char>(std::tolower(each)); });
        return text;
    }
    // The state after all that was sent before: devices are answered in order, and each such snapshot has a time of its own.
    [[nodiscard]] RemoteSnapshot snapshotAfter()
    {
        clock.secondsSince2001 += 1;
        device->send(message(RemoteMessageType::refresh));
        RemoteSnapshot result;
        hear(
            [&] {
                for (const RemoteSnapshot& each : device->snapshots()) {
                    if (each.generatedAt == clock.secondsSince1970()) {
                        result = each;
                        return true;
                    }
                }
                return false;
            },
            "the answer to a refresh");
        return result;
    }
    // Sends it and waits until the model has handled it.
    void command(const RemoteEnvelope& envelope)
    {
        device->send(envelope);
        (void)snapshotAfter();
    }
    // Moves the clock of delayed work, and runs what is due.
    void pass(std::chrono::milliseconds time)
    {
        m_time.elapsed += std::chrono::duration_cast<MainThread::Clock::duration>(time).count();
        drain();
    }
    // Sends it, and waits until it is on its way to the model, which has not run since.
    void sendUnheard(const RemoteEnvelope& envelope)
    {
        (void)snapshotAfter();
        drain();
        const int before = m_time.wakes;
        device->send(envelope);
        const auto end = std::chrono::steady_clock::now() + waitBound;
        while (m_time.wakes == before && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ASSERT_NE(m_time.wakes, before);
    }
    [[nodiscard]] std::string storedMode() const { return preferences.text(AppModel::permissionModeKey).value_or(""); }

    std::unique_ptr<PairedDevice> device;

private:
    HandTimedMainThread& m_time;
};

} // namespace tessarin::testing
