// How fast a film comes to one device, against `cat` of as many bytes into a loopback socket: at least half as fast, by the bytes on the
// wire. In both cases another process connects, reads what comes into a buffer of the same size, and says when it has all. The film lies in
// the cache of the system, and so does what `cat` prints; the two take their turns.
//
//   MediaBenchmark [--megabytes=400] [--rounds=7] [--folder=...] [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkSupport.h"
#include "Remote/RemoteCrypto.h"
#include "Remote/RemoteHostServer.h"
#include "Remote/RemoteMediaStream.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tessarin
{
namespace
{

constexpr double bar = 0.5;
const std::string key(RemoteCrypto::keyByteCount, 'k');

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// A socket that listens on a free port.
struct Listener {
    Listener() : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = loopback(0);
        socklen_t size = sizeof address;
        if (::bind(socket, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(socket, 1) != 0
            || ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            giveUp("no socket to listen on");
        }
        port = ntohs(address.sin_port);
    }
    ~Listener() { ::close(socket); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    int socket;
    std::uint16_t port = 0;
};

// Runs in a process of its own: reads so many bytes from that port and says so.
[[noreturn]] void drain(std::uint16_t port, std::size_t byteCount, int finished)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = loopback(port);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::_exit(1);
    }
    std::vector<char> buffer(256 * 1024);
    for (std::size_t left = byteCount; left > 0;) {
        const ssize_t count = ::recv(socket, buffer.data(), std::min(buffer.size(), left), 0);
        if (count <= 0) {
            ::_exit(1);
        }
        left -= static_cast<std::size_t>(count);
    }
    ::_exit(::write(finished, "x", 1) == 1 ? 0 : 1);
}

// The device: another process that drains a port.
class Reader
{
public:
    Reader(std::uint16_t port, std::size_t byteCount)
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0 || (m_process = ::fork()) < 0) {
            giveUp("no second process");
        }
        if (m_process == 0) {
            drain(port, byteCount, ends[1]);
        }
        ::close(ends[1]);
        m_finished = ends[0];
    }
    ~Reader()
    {
        ::close(m_finished);
        ::waitpid(m_process, nullptr, 0);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    void wait() const
    {
        char byte = 0;
        if (::read(m_finished, &byte, 1) != 1) {
            giveUp("not all bytes came");
        }
    }

private:
    pid_t m_process = -1;
    int m_finished = -1;
};

// The measure.
double secondsOfCat(const std::string& path, std::size_t byteCount)
{
    const Listener listener;
    const Reader reader(listener.port, byteCount);
    const int connection = ::accept4(listener.socket, nullptr, nullptr, SOCK_CLOEXEC);
    const double start = secondsNow();
    const pid_t cat = ::fork();
    if (cat == 0) {
        ::dup2(connection, STDOUT_FILENO);
        ::execl("/usr/bin/cat", "cat", path.c_str(), nullptr);
        ::_exit(127);
    }
    reader.wait();
    const double seconds = secondsNow() - start;
    ::close(connection);
    ::waitpid(cat, nullptr, 0);
    return seconds;
}

std::uint16_t freePort()
{
    return Listener().port;
}

// The program's side, with one device that is connected.
double secondsOfTheHost(const RemoteMedia& film, std::size_t byteCount)
{
    static auto& mainThread = *new MainThread; // the server may post to it while it goes
    bool isConnected = false;
    RemoteHostServer server(mainThread);
    bool isListening = false;
    server.onStateChange = [&isListening](const RemoteHostState& state) { isListening = state.kind() == RemoteHostState::Kind::listening; };
    server.onClientCountChange = [&isConnected](std::size_t count) { isConnected = count == 1; };
    const auto await = [](const bool& condition) {
        while (!condition) {
            if (!mainThread.waitAndDrain(std::chrono::seconds(10))) {
                giveUp("the host has not begun");
            }
        }
    };
    const std::uint16_t port = freePort();
    server.start(key, port);
    await(isListening);
    const Reader reader(port, byteCount);
    await(isConnected);
    const double start = secondsNow();
    server.sendMedia(film);
    reader.wait();
    return secondsNow() - start;
}

void writeFile(const std::string& path, std::size_t byteCount)
{
    std::ofstream file(path, std::ios::binary);
    std::string block(1024 * 1024, '\0');
    for (std::size_t place = 0; place < block.size(); ++place) {
        block[place] = static_cast<char>((place * 2'654'435'761U) >> 11U);
    }
    for (std::size_t written = 0; written < byteCount; written += block.size()) {
        file.write(block.data(), static_cast<std::streamsize>(std::min(block.size(), byteCount - written)));
    }
    if (!file.flush()) {
        giveUp("can't write " + path);
    }
}

// All frames have ids of one length, so that their sizes are the same each time.
std::size_t bytesOnTheWire(const RemoteMedia& film)
{
    const auto stream = RemoteMediaStream::open(film, key);
    std::size_t total = 0;
    for (std::size_t index = 0; stream && index < stream->chunkCount(); ++index) {
        total += stream->frame(index)->size();
    }
    return total;
}

int measure(const BenchmarkOptions& options)
{
    std::string folder = options.text("folder") + "/tessarin-media-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        giveUp("can't make a folder in " + options.text("folder"));
    }
    const RemoteMedia film{ .id = Uuid::random().text(), .kind = "video", .path = folder + "/film.mp4", .fileName = "film.mp4" };
    writeFile(film.path, options.number("megabytes") * 1'000'000);
    const std::size_t byteCount = bytesOnTheWire(film);
    writeFile(folder + "/wire", byteCount);
    std::vector<double> ratios;
    for (std::size_t round = 0; round < options.number("rounds"); ++round) {
        const double cat = secondsOfCat(folder + "/wire", byteCount);
        const double host = secondsOfTheHost(film, byteCount);
        const auto speed = [byteCount](double seconds) { return static_cast<double>(byteCount) / seconds / 1e9; };
        std::printf("%.0f MB on the wire: cat %.2f GB/s, a film to one device %.2f GB/s\n", static_cast<double>(byteCount) / 1e6,
            speed(cat), speed(host));
        ratios.push_back(cat / host);
    }
    std::filesystem::remove_all(folder);
    const double ratio = median(ratios);
    std::printf("media to one device / cat through a loopback socket, bytes on the wire: %.2f (bar %.1f, at least)\n", ratio, bar);
    return options.status(ratio >= bar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    return tessarin::measure(
        { argc, argv, { { "megabytes", "400" }, { "rounds", "7" }, { "folder", std::filesystem::temp_directory_path().string() } } });
}
