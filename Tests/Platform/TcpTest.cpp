#include "Platform/ChildProcess.h"
#include "Platform/TcpListener.h"
#include "Platform/TcpSocket.h"
#include "TcpClient.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#if defined(__linux__)
#include <cstddef>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#endif

namespace tessarin
{

namespace
{

std::string textOf(std::size_t size)
{
    return std::string(size, 'x');
}

// Listens on a free port and keeps what it accepts. All of it is used on the queue, and the test waits for what it tells.
class TcpTest : public testing::Test
{
protected:
    ~TcpTest() override
    {
        onQueue([this] {
            listener.reset();
            accepted.clear();
        });
    }

    void onQueue(const std::function<void()>& work) { queue->sync(work); }

    // The failure's text, empty for success.
    std::string listen()
    {
        std::string failure;
        onQueue([&] {
            TcpListener::Callbacks callbacks;
            callbacks.accepted = [this](std::unique_ptr<TcpConnection> connection) {
                accepted.push_back(std::move(connection));
                tell("accepted");
            };
            callbacks.failed = [this](const NetworkError& error) { tell("failed: " + error.text); };
            auto opened = TcpListener::listen(queue, port, std::move(callbacks));
            if (opened) {
                listener = std::move(opened).value();
            } else {
                failure = opened.error().text;
                failureCode = opened.error().code;
            }
        });
        return failure;
    }
    TcpClient connect(const char* address = "127.0.0.1")
    {
        TcpClient client(port, address);
        EXPECT_TRUE(client.isConnected());
        EXPECT_TRUE(waitFor("accepted"));
        return client;
    }

    // Reads until the end; each read, its end and a failure are told.
    void readAll(std::size_t maximumLength = TcpConnection::receiveLimit)
    {
        accepted.back()->receive(maximumLength, [this, maximumLength](const auto& bytes) {
            if (!bytes) {
                return tell("read failed");
            }
            if (bytes.value().empty()) {
                return tell("ended");
            }
            EXPECT_LE(bytes.value().size(), maximumLength);
            received += bytes.value();
            readAll(maximumLength);
        });
    }
    void send(const std::string& bytes)
    {
        sent = std::make_shared<const std::string>(bytes);
        accepted.back()->send(
            sent,
            [this](std::size_t count) {
                takenBytes += count;
                if (takenBytes == sent->size()) {
                    tell("taken");
                }
            },
            [this](const NetworkError&) { tell("send failed"); });
    }

    void tell(const std::string& what)
    {
        const std::lock_guard lock(m_mutex);
        m_told.push_back(what);
        m_changed.notify_all();
    }
    // Waits for it, and takes it and what came before it off.
    bool waitFor(const std::string& what)
    {
        std::unique_lock lock(m_mutex);
        const auto found = [&] { return std::find(m_told.begin(), m_told.end(), what); };
        if (!m_changed.wait_for(lock, std::chrono::seconds(60), [&] { return found() != m_told.end(); })) {
            return false;
        }
        m_told.erase(m_told.begin(), found() + 1);
        return true;
    }
    bool isNothingTold()
    {
        onQueue([] {});
        const std::lock_guard lock(m_mutex);
        return m_told.empty();
    }

    const std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("com.local.tessarin.test");
    const std::uint16_t port = freePort();
    int failureCode = 0;
    // On the queue.
    std::unique_ptr<TcpListener> listener;
    std::vector<std::unique_ptr<TcpConnection>> accepted;
    std::shared_ptr<const std::string> sent;
    std::size_t takenBytes = 0;
    std::string received;

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_told;
};

} // namespace

TEST_F(TcpTest, BothProtocolsOfTheInternetReachOnePort)
{
    ASSERT_EQ(listen(), "");
    connect("127.0.0.1");
    connect(loopbackOfVersionSix());
}

TEST_F(TcpTest, EveryAddressOfTheMachineIsListenedOn)
{
    ASSERT_EQ(listen(), "");
    connect("127.0.0.2"); // what listens on 127.0.0.1 alone does not have it
}

TEST_F(TcpTest, APortThatIsTakenIsTold)
{
    ASSERT_EQ(listen(), "");
    auto first = std::move(listener);
    EXPECT_EQ(listen(), "Port " + std::to_string(port) + " is already used by another program.");
    EXPECT_EQ(failureCode, EADDRINUSE);
    onQueue([&] { first.reset(); });
    EXPECT_EQ(listen(), "") << "free at once";
}

TEST_F(TcpTest, ACancelledListenerTellsNothingAndItsPortIsFree)
{
    ASSERT_EQ(listen(), "");
    const TcpClient client = connect();
    onQueue([&] {
        listener->cancel();
        listener->cancel();
    });
    EXPECT_FALSE(TcpClient(port).isConnected());
    EXPECT_TRUE(isNothingTold());
    EXPECT_EQ(listen(), "") << "though a connection of before lives";
    connect();
}

TEST_F(TcpTest, WhilePausedConnectionsWait)
{
    ASSERT_EQ(listen(), "");
    onQueue([&] { listener->pause(); });
    std::vector<TcpClient> waiting;
    for (int number = 0; number < 50; ++number) {
        waiting.emplace_back(port);
        ASSERT_TRUE(waiting.back().isConnected());
    }
    EXPECT_TRUE(isNothingTold());
    onQueue([&] { listener->resume(); });
    for (int number = 0; number < 50; ++number) {
        ASSERT_TRUE(waitFor("accepted"));
    }
}

TEST_F(TcpTest, AsManyMayWaitToBeAcceptedAsTheSystemLets)
{
    raiseDescriptorLimit();
    ASSERT_EQ(listen(), "");
    onQueue([&] { listener->pause(); });
    int systemLimit = 128;
    std::ifstream("/proc/sys/net/core/somaxconn") >> systemLimit;
    const int count = std::min(systemLimit, 1000);
    std::vector<TcpClient> waiting;
    for (int number = 0; number < count; ++number) {
        waiting.emplace_back(port);
        ASSERT_TRUE(waiting.back().isConnected()) << number;
    }
    onQueue([&] { listener->resume(); });
    for (int number = 0; number < count; ++number) {
        ASSERT_TRUE(waitFor("accepted"));
    }
}

TEST_F(TcpTest, WhoConnectsLeavesDescriptorsForTheRestAndIsAcceptedWhenThereAreMore)
{
    ASSERT_EQ(listen(), "");
    onQueue([&] { listener->pause(); });
    const std::array<TcpClient, 5> waiting{ TcpClient(port), TcpClient(port), TcpClient(port), TcpClient(port), TcpClient(port) };
    // There is room for two more.
    const int first = dup(0);
    const int second = dup(0);
    ::close(first);
    ::close(second);
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    rlimit scarce = before;
    scarce.rlim_cur = static_cast<rlim_t>(std::max(first, second)) + 1;
    while (scarce.rlim_cur - scarce.rlim_cur / 4 <= static_cast<rlim_t>(std::max(first, second))) {
        ++scarce.rlim_cur; // a quarter is for others
    }
    setrlimit(RLIMIT_NOFILE, &scarce);
    onQueue([&] { listener->resume(); });
    const bool areTwoAccepted = waitFor("accepted") && waitFor("accepted");
    const bool isNoMoreAccepted = isNothingTold(); // and no failure
    const int file = dup(0);
    const bool isRoomForFiles = file >= 0;
    ::close(file);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(areTwoAccepted);
    EXPECT_TRUE(isNoMoreAccepted);
    EXPECT_TRUE(isRoomForFiles);
    for (std::size_t number = 2; number < waiting.size(); ++number) {
        ASSERT_TRUE(waitFor("accepted")) << number;
    }
}

TEST_F(TcpTest, ACallbackMayEndTheListener)
{
    onQueue([&] {
        TcpListener::Callbacks callbacks;
        callbacks.accepted = [this](std::unique_ptr<TcpConnection>) {
            listener.reset();
            tell("accepted");
        };
        auto opened = TcpListener::listen(queue, port, std::move(callbacks));
        ASSERT_TRUE(opened);
        listener = std::move(opened).value();
    });
    const TcpClient first(port);
    ASSERT_TRUE(waitFor("accepted"));
    EXPECT_TRUE(first.waitForEnd()) << "a connection that nobody takes is closed";
    EXPECT_FALSE(TcpClient(port).isConnected());
}

TEST_F(TcpTest, BytesComeInOrderAndThenTheEnd)
{
    ASSERT_EQ(listen(), "");
    const TcpClient client = connect();
    onQueue([&] { readAll(1000); });
    std::string all;
    for (int number = 0; number < 20'000; ++number) {
        all += std::to_string(number);
    }
    ASSERT_TRUE(client.send(all));
    client.endWriting();
    ASSERT_TRUE(waitFor("ended"));
    onQueue([&] { EXPECT_TRUE(received == all); });
}

TEST_F(TcpTest, WhatIsSentArrivesAndIsCounted)
{
    ASSERT_EQ(listen(), "");
    const TcpClient client = connect();
    const std::string large = textOf(30'000'000);
    onQueue([&] { send(large); });
    EXPECT_TRUE(client.receive(large.size()) == large);
    EXPECT_TRUE(waitFor("taken"));
    onQueue([&] { EXPECT_EQ(takenBytes, large.size()); });
}

TEST_F(TcpTest, NothingIsCalledWithinACall)
{
    ASSERT_EQ(listen(), "");
    const TcpClient client = connect();
    ASSERT_TRUE(client.send("here"));
    onQueue([&] {
        send("short");
        readAll();
        EXPECT_EQ(takenBytes, 0U);
        EXPECT_EQ(received, "");
    });
    EXPECT_TRUE(waitFor("taken"));
    EXPECT_EQ(client.receive(5), "short");
}

TEST_F(TcpTest, TheSystemTakesLittleForOneThatDoesNotRead)
{
    ASSERT_EQ(listen(), "");
    const TcpClient client(port, "127.0.0.1", 16 * 1024);
    ASSERT_TRUE(waitFor("accepted"));
    onQueue([&] { send(textOf(50'000'000)); });
    std::size_t before = 1;
    for (std::size_t now = 0; now != before;) {
        before = now;
        ASSERT_TRUE(client.receive(1000)) << "some of it is there";
        onQueue([&] { now = takenBytes; });
    }
    EXPECT_LT(before, 2'000'000U);
}

TEST_F(TcpTest, AnEndTellsTheSenderAndWhatCameBeforeIsReceived)
{
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(listener ? "" : listen(), "");
        TcpClient client = connect();
        const std::string farewell(20'000, 'y'); // which the system takes before anybody reads
        onQueue([&] {
            received.clear();
            takenBytes = 0;
            send(textOf(20'000'000));
        });
        ASSERT_TRUE(client.receive(10));
        ASSERT_TRUE(client.send(farewell));
        client.close();
        ASSERT_TRUE(waitFor("send failed"));
        onQueue([&] { readAll(); });
        ASSERT_TRUE(waitFor("ended"));
        onQueue([&] { EXPECT_EQ(received.size(), farewell.size()); });
    }
}

TEST_F(TcpTest, AfterClosingNothingIsCalled)
{
    ASSERT_EQ(listen(), "");
    const TcpClient client = connect();
    onQueue([&] {
        readAll();
        send(textOf(10'000'000));
        accepted.back()->close();
        accepted.back()->close();
        accepted.back()->receive(1, [this](const auto&) { tell("read"); });
        accepted.back()->send(sent, [this](std::size_t) { tell("taken"); }, {});
    });
    EXPECT_TRUE(client.waitForEnd());
    EXPECT_TRUE(isNothingTold());
}

TEST_F(TcpTest, ACallbackMayDropItsConnection)
{
    ASSERT_EQ(listen(), "");
    const TcpClient reader = connect();
    onQueue([&] {
        accepted.back()->receive(10, [this](const auto&) {
            accepted.pop_back();
            tell("dropped");
        });
    });
    ASSERT_TRUE(reader.send("x"));
    ASSERT_TRUE(waitFor("dropped"));
    EXPECT_TRUE(reader.waitForEnd());

    const TcpClient taker = connect();
    onQueue([&] {
        const auto drop = [this](std::size_t) {
            accepted.pop_back();
            tell("dropped");
        };
        accepted.back()->send(std::make_shared<const std::string>(5'000'000, 'x'), drop, {});
    });
    ASSERT_TRUE(waitFor("dropped"));
    EXPECT_TRUE(taker.waitForEnd());
}

TEST_F(TcpTest, ChildrenInheritNoneOfIt)
{
    ASSERT_EQ(listen(), "");
    const TcpClient client = connect();
    const ChildLaunch launch{ .executable = "/bin/sh", .arguments = { "-c", "ls -l /proc/self/fd" }, .environment = processEnvironment() };
    const auto outcome = runCommand(launch);
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome.value().output.find("socket:"), std::string::npos) << outcome.value().output;
    EXPECT_NE(outcome.value().output.find("pipe:"), std::string::npos);
    // A child that leaves the closing to exec sees them otherwise: what execv keeps is what has no mark.
    for (int descriptor = 3; descriptor < 100; ++descriptor) {
        int type = 0;
        socklen_t length = sizeof type;
        if (getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0) {
            EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC) << descriptor;
        }
    }
}

#if defined(__linux__)

// From now on the system makes no socket of version 6.
static bool removeVersionSix()
{
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_socket, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_INET6, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAFNOSUPPORT),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter{ std::size(steps), steps };
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

TEST(TcpSocketTest, WithoutVersionSixItListensOnVersionFourAlone)
{
    const std::uint16_t port = freePort();
    const auto listensOnFour = [port] {
        const bool isRemoved = removeVersionSix();
        const auto socket = openListeningSocket(port);
        return isRemoved && socket && TcpClient(port).isConnected() && !TcpClient(port, "::1").isConnected();
    };
    EXPECT_EXIT(_exit(listensOnFour() ? 0 : 1), testing::ExitedWithCode(0), "");
}

#endif

} // namespace tessarin
