// What it costs the main thread to tell paired devices of one changed task, as processor time.
// The state is 10 MB of tasks, loaded from the store. A round adds a line to one task, lets the quiet time pass by a clock of its own, and
// waits until every device has the whole snapshot, through real sockets. Measured is what the main thread works from the end of the quiet
// time on.
//
// - against encoding the whole state, also with nothing kept: at most a tenth
// - with 50 devices against one: at most 1.5 times; all get the same frame, which shows that it is encoded and sealed once
//
//   SnapshotBenchmark [--megabytes=10] [--devices=50] [--rounds=15] [--report]
//
// Ends with 1 when a bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "App/AppModel.h"
#include "BenchmarkSupport.h"
#include "BenchmarkWorld.h"
#include "Platform/BackgroundWork.h"
#include "Remote/RemoteCoder.h"
#include "Remote/RemoteCrypto.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tessarin
{
namespace
{

constexpr double encodingBar = 0.1;
constexpr double devicesBar = 1.5;

double processorSecondsOfThisThread()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::uint16_t freePort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    if (::bind(socket, reinterpret_cast<sockaddr*>(&address), size) != 0
        || ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        giveUp("no free port");
    }
    ::close(socket);
    return ntohs(address.sin_port);
}

// The reading side of a device: it keeps the head of the last frame that is whole. The nonce in it is new for each sealing.
class Device
{
public:
    static constexpr std::size_t headSize = RemoteCrypto::lengthByteCount + RemoteCrypto::nonceByteCount;
    using Head = std::array<char, headSize>;

    explicit Device(std::uint16_t port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const sockaddr_in address = loopback(port);
        if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            giveUp("a device can't connect");
        }
    }
    ~Device() { ::close(m_socket); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    [[nodiscard]] int socket() const { return m_socket; }
    [[nodiscard]] const Head& lastFrame() const { return m_lastFrame; }

    void read(std::vector<char>& buffer)
    {
        const ssize_t count = ::recv(m_socket, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count == 0) {
            giveUp("the host has closed a connection");
        }
        for (std::size_t at = 0; count > 0 && at < static_cast<std::size_t>(count);) {
            at += take(buffer.data() + at, static_cast<std::size_t>(count) - at);
        }
    }

private:
    std::size_t take(const char* bytes, std::size_t count)
    {
        if (m_headFilled < headSize) {
            const std::size_t part = std::min(count, headSize - m_headFilled);
            std::memcpy(m_head.data() + m_headFilled, bytes, part);
            m_headFilled += part;
            if (m_headFilled == headSize) {
                const auto length = RemoteCrypto::frameLength({ m_head.data(), RemoteCrypto::lengthByteCount });
                m_left = length ? length.value() - RemoteCrypto::nonceByteCount : 0;
            }
            return part;
        }
        const std::size_t part = std::min(count, m_left);
        m_left -= part;
        if (m_left == 0) {
            m_lastFrame = m_head;
            m_headFilled = 0;
        }
        return part;
    }

    const int m_socket;
    Head m_lastFrame{};
    Head m_head{}; // of the frame that is coming
    std::size_t m_headFilled = 0;
    std::size_t m_left = 0; // of the frame, after its head
};

// Devices that one thread reads for.
class Devices
{
public:
    ~Devices()
    {
        m_isEnding = true;
        if (m_reader.joinable()) {
            m_reader.join();
        }
    }

    // Requires: waitForFrame is not running.
    void connect(std::uint16_t port, std::size_t count)
    {
        const std::lock_guard lock(m_mutex);
        for (; count > 0; --count) {
            m_devices.push_back(std::make_unique<Device>(port));
        }
        if (!m_reader.joinable()) {
            m_reader = std::thread([this] { readAll(); });
        }
    }
    // Until all have got one and the same frame, which is another than at the last call.
    void waitForFrame()
    {
        std::unique_lock lock(m_mutex);
        const auto haveAll = [&] {
            const Device::Head& frame = m_devices.front()->lastFrame();
            return frame != m_lastFrame
                && std::all_of(m_devices.begin(), m_devices.end(), [&](const auto& each) { return each->lastFrame() == frame; });
        };
        if (!m_arrived.wait_for(lock, std::chrono::seconds(60), haveAll)) {
            giveUp("the devices have not got one frame");
        }
        m_lastFrame = m_devices.front()->lastFrame();
    }

private:
    void readAll()
    {
        std::vector<char> buffer(256 * 1024);
        while (!m_isEnding) {
            std::vector<pollfd> sockets;
            {
                const std::lock_guard lock(m_mutex);
                for (const auto& each : m_devices) {
                    sockets.push_back({ each->socket(), POLLIN, 0 });
                }
            }
            if (::poll(sockets.data(), sockets.size(), 20) <= 0) {
                continue;
            }
            const std::lock_guard lock(m_mutex);
            for (std::size_t index = 0; index < sockets.size(); ++index) {
                if (sockets[index].revents != 0) {
                    m_devices[index]->read(buffer);
                }
            }
            m_arrived.notify_one();
        }
    }

    std::atomic<bool> m_isEnding = false;
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<std::unique_ptr<Device>> m_devices;
    Device::Head m_lastFrame{}; // that all have got
    std::thread m_reader;
};

std::vector<Workspace> treeOf(std::size_t bytes, const std::string& folder)
{
    std::vector<Workspace> tree{ Workspace::make(folder) };
    tree[0].threads.clear();
    for (std::size_t written = 0; written < bytes;) {
        ChatThread& thread = tree[0].threads.emplace_back(ChatThread::make("A task"));
        for (std::size_t row = 0; row < 100; ++row) {
            std::string text;
            for (std::size_t line = 0; line < 1 + row % 12; ++line) {
                text += "It reads \"Sources/main.cpp\" and changes line " + std::to_string(line) + " — naïve, but correct.\n";
            }
            written += text.size() + 150;
            thread.entries.push_back(ChatEntry::make(ChatEntryKind::assistant, std::move(text)));
        }
    }
    return tree;
}

// The program without its window, with its remote host on.
class Host
{
public:
    explicit Host(std::size_t bytes)
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "snapshot-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            giveUp("no temporary folder");
        }
        m_folder = pattern;
        m_preferences = std::make_unique<Preferences>(StoreLocations{ m_folder + "/config", m_folder + "/data" });
        m_preferences->setBoolean(RemoteHostConfiguration::enabledKey, true);
        m_store = std::make_unique<WorkspaceStore>(*m_preferences);
        TreeChanges changes;
        m_store->save(treeOf(bytes, m_folder), changes);
        m_model = AppModel::make({ *m_preferences, *m_store, m_mainThread, m_desktop, RuntimeContext::current(*m_preferences),
            { .secrets = m_secrets, .port = port, .suggestedAddress = [] { return std::string("127.0.0.1"); } } });
        pumpUntil([&] { return m_model->remoteHostState().kind() == RemoteHostState::Kind::listening; });
    }
    ~Host()
    {
        m_model.reset();
        finishBackgroundWork(); // which uses the secrets
        m_store.reset();
        m_preferences.reset();
        std::error_code ignored; // a folder of ours in the system's place for such
        std::filesystem::remove_all(m_folder, ignored);
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // Until so many devices are counted, and have been told of it.
    void waitForDevices(std::size_t count, Devices& devices)
    {
        pumpUntil([&] { return m_model->remoteClientCount() == count; });
        tellSnapshot();
        devices.waitForFrame();
    }
    // What one snapshot after one changed task costs.
    [[nodiscard]] double secondsOfASnapshot(Devices& devices)
    {
        m_model->stopWorking(); // which adds a line to the task
        const double first = tellSnapshot();
        devices.waitForFrame();
        const double start = processorSecondsOfThisThread();
        m_mainThread.drain();
        return first + processorSecondsOfThisThread() - start;
    }
    [[nodiscard]] double secondsOfEncoding(std::size_t& byteCount) const
    {
        const RemoteEnvelope envelope = RemoteEnvelope::makeSnapshot(RemoteSnapshotBuilder().build(*m_model, "Host", Instant::now()));
        const double start = processorSecondsOfThisThread();
        const auto bytes = RemoteEncoder().encode(envelope, RemoteCrypto::maximumFrameSize);
        if (!bytes) {
            giveUp("the state is too large for a frame");
        }
        byteCount = bytes->size();
        return processorSecondsOfThisThread() - start;
    }

    const std::uint16_t port = freePort();

private:
    // Lets the quiet time pass, and more.
    double tellSnapshot()
    {
        m_elapsed += std::chrono::duration_cast<MainThread::Clock::duration>(std::chrono::seconds(1)).count();
        const double start = processorSecondsOfThisThread();
        m_mainThread.drain();
        return processorSecondsOfThisThread() - start;
    }
    template <class Condition>
    void pumpUntil(Condition condition)
    {
        while (!condition()) {
            if (!m_mainThread.waitAndDrain(std::chrono::seconds(60))) {
                giveUp("the host fell silent");
            }
        }
    }

    std::string m_folder;
    std::atomic<MainThread::Clock::duration::rep> m_elapsed = 0;
    // The server may post to it while it goes.
    MainThread& m_mainThread
        = *new MainThread({}, [this] { return MainThread::Clock::time_point(MainThread::Clock::duration(m_elapsed)); });
    NoDesktop m_desktop;
    OneSecret m_secrets;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<WorkspaceStore> m_store;
    std::shared_ptr<AppModel> m_model;
};

int measure(const BenchmarkOptions& options)
{
    Host host(options.number("megabytes") * 1'000'000);
    Devices devices;
    devices.connect(host.port, 1);
    host.waitForDevices(1, devices);
    std::vector<double> ofOne, ofMany, encodings;
    std::size_t byteCount = 0;
    for (std::size_t round = 0; round < options.number("rounds"); ++round) {
        ofOne.push_back(host.secondsOfASnapshot(devices));
        encodings.push_back(host.secondsOfEncoding(byteCount));
    }
    const std::size_t count = options.number("devices");
    devices.connect(host.port, count - 1);
    host.waitForDevices(count, devices);
    for (std::size_t round = 0; round < options.number("rounds"); ++round) {
        ofMany.push_back(host.secondsOfASnapshot(devices));
    }
    const double encodingRatio = median(ofOne) / median(encodings);
    const double devicesRatio = median(ofMany) / median(ofOne);
    std::printf("encoding the whole state of %.1f MB: %8.3f ms\n", static_cast<double>(byteCount) / 1e6, median(encodings) * 1e3);
    std::printf("a snapshot of it after one changed task, of the main thread: %8.3f ms\n", median(ofOne) * 1e3);
    std::printf("the same with %zu devices, which get one frame: %8.3f ms\n", count, median(ofMany) * 1e3);
    std::printf("snapshot after one changed task in %zu MB / encoding all of it: %.3f (bar %.1f)\n", options.number("megabytes"),
        encodingRatio, encodingBar);
    std::printf("the main thread's part with %zu devices / with one: %.2f (bar %.1f)\n", count, devicesRatio, devicesBar);
    return options.status(encodingRatio <= encodingBar && devicesRatio <= devicesBar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    return tessarin::measure({ argc, argv, { { "megabytes", "10" }, { "devices", "50" }, { "rounds", "15" } } });
}
