#include "Services/TerminalManager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <random>
#include <signal.h>
#include <thread>
#include <unistd.h>

using namespace tessarin;
using namespace std::chrono_literals;

namespace
{

std::size_t openDescriptors()
{
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
}

// The direct children of this process, zombies included.
std::size_t children()
{
    std::size_t count = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::FILE* list = std::fopen((task.path() / "children").c_str(), "r");
        for (int process = 0; list != nullptr && std::fscanf(list, "%d", &process) == 1;) {
            ++count;
        }
        if (list != nullptr) {
            std::fclose(list);
        }
    }
    return count;
}

// A sanitizer keeps memory of its own and takes its time.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

// From here on the most memory that this process holds is counted anew. On Linux only.
void forgetPeakMemory()
{
    std::ofstream("/proc/self/clear_refs") << 5;
}

// In bytes; 0 where the system does not tell.
std::size_t peakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::stoul(line.substr(line.find_first_of("0123456789"))) * 1024;
        }
    }
    return 0;
}

// What is known to be true of one terminal, kept beside the manager under test.
struct Expected {
    int exitCode = 0;
    bool endsByItself = true; // else only a kill or a release ends it
    bool isKilled = false;
    bool isReleased = false;
};

struct Wait {
    std::size_t terminal = 0;
    std::atomic<int> answers = 0;
    JsonObject answer;
};

} // namespace

TEST(TerminalStressTest, FiveHundredTerminalsInRandomOrderAnswerAsTheModelSays)
{
    constexpr std::size_t count = 500;
    std::mt19937 random(11);
    const std::size_t descriptorsBefore = openDescriptors();
    {
        TerminalManager manager(Environment{ { "PATH", "/usr/bin:/bin" } });
        std::vector<std::string> ids;
        std::vector<Expected> expected;
        std::vector<std::unique_ptr<Wait>> waits;
        const auto waitFor = [&](std::size_t n) {
            waits.push_back(std::make_unique<Wait>());
            Wait* wait = waits.back().get();
            wait->terminal = n;
            const auto asked = manager.waitForExit(ids[n], [wait](JsonObject exitStatus) {
                wait->answer = std::move(exitStatus);
                ++wait->answers;
            });
            EXPECT_EQ(bool(asked), !expected[n].isReleased);
            if (!asked) {
                waits.pop_back();
            }
        };
        const auto act = [&](std::size_t n) {
            switch (random() % 4) {
            case 0:
                waitFor(n);
                break;
            case 1:
                EXPECT_EQ(bool(manager.kill(ids[n])), !expected[n].isReleased);
                expected[n].isKilled = true;
                break;
            case 2:
                EXPECT_EQ(bool(manager.release(ids[n])), !expected[n].isReleased);
                expected[n].isReleased = true;
                break;
            default:
                EXPECT_EQ(bool(manager.snapshot(ids[n])), !expected[n].isReleased);
            }
        };
        while (ids.size() < count) {
            Expected terminal{ .exitCode = static_cast<int>(random() % 100), .endsByItself = random() % 3 != 0 };
            const std::string line = terminal.endsByItself ? "echo out; exit " + std::to_string(terminal.exitCode) : "exec sleep 600";
            const auto id = manager.create({ { "command", "sh" }, { "args", { "-c", line } } });
            ASSERT_TRUE(id) << id.error().description();
            ids.push_back(id.value());
            expected.push_back(terminal);
            act(random() % ids.size());
            act(random() % ids.size());
            if (ids.size() > 40) {
                // Keeps the number of living children within reason.
                const std::size_t old = ids.size() - 40;
                if (!expected[old].isReleased) {
                    waitFor(old);
                    EXPECT_TRUE(manager.release(ids[old]));
                    expected[old].isReleased = true;
                }
            }
        }
        manager.releaseAll();

        const auto end = std::chrono::steady_clock::now() + 60s;
        for (const auto& wait : waits) {
            while (wait->answers == 0 && std::chrono::steady_clock::now() < end) {
                std::this_thread::yield();
            }
            ASSERT_EQ(wait->answers, 1);
            const Expected& terminal = expected[wait->terminal];
            const Json& exitCode = wait->answer.at("exitCode");
            EXPECT_EQ(wait->answer.at("signal"), Json(nullptr));
            // Released before its end: no code. Ended before: its own code, or the number of the signal.
            const bool isOwnCode = terminal.endsByItself && exitCode == Json(terminal.exitCode);
            const bool isSignal = terminal.isKilled && exitCode == Json(SIGTERM);
            const bool isNone = exitCode == Json(nullptr);
            EXPECT_TRUE(isOwnCode || isSignal || isNone) << boost::json::serialize(wait->answer);
        }
        while (children() > 0 && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        EXPECT_EQ(children(), 0U);
        for (const auto& wait : waits) {
            EXPECT_EQ(wait->answers, 1);
        }
    }
    const auto end = std::chrono::steady_clock::now() + 20s;
    // The pool of threads opens a few of its own at its first use.
    while (openDescriptors() > descriptorsBefore + 8 && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    EXPECT_LE(openDescriptors(), descriptorsBefore + 8);
}

// Numbered lines of ten bytes, so that each byte of what is kept is known.
TEST(TerminalStressTest, AGigabyteOfOutputKeepsItsEndWithinTheLimitAndAConstant)
{
    constexpr std::size_t limit = 1'000'000;
    constexpr std::size_t slack = std::size_t{ 8 } << 20;
    constexpr int first = 100'000'000;
    constexpr int last = isSanitized ? 109'999'999 : 199'999'999;
    TerminalManager manager(Environment{ { "PATH", "/usr/bin:/bin" } });
    forgetPeakMemory();
    const std::size_t before = peakMemory();
    const auto id = manager.create(
        { { "command", "seq" }, { "args", { std::to_string(first), std::to_string(last) } }, { "outputByteLimit", limit } });
    ASSERT_TRUE(id);
    std::promise<JsonObject> end;
    auto ended = end.get_future();
    ASSERT_TRUE(manager.waitForExit(id.value(), [&](JsonObject exitStatus) { end.set_value(std::move(exitStatus)); }));

    // Whenever somebody looks, the rules hold: whole numbered lines to the end, no more than the limit, truncated for good.
    std::size_t looks = 0;
    for (bool wasTruncated = false; ended.wait_for(20ms) != std::future_status::ready; ++looks) {
        ASSERT_LT(looks, 6000U) << "two minutes";
        const auto snapshot = manager.snapshot(id.value());
        ASSERT_TRUE(snapshot);
        const std::size_t size = snapshot.value().at("output").as_string().size();
        EXPECT_LE(size, limit);
        EXPECT_TRUE(!wasTruncated || (size == limit && snapshot.value().at("truncated") == Json(true)));
        wasTruncated = snapshot.value().at("truncated").as_bool();
    }
    EXPECT_GT(looks, 1U) << "nobody was held up";
    EXPECT_EQ(ended.get().at("exitCode"), Json(0));
    if (!isSanitized) {
        EXPECT_LT(peakMemory() - before, 2 * limit + slack) << "the buffer, and the copy of it that a look takes";
    }
    std::string expected;
    for (int line = last - static_cast<int>(limit / 10) + 1; line <= last; ++line) {
        expected += std::to_string(line) + "\n";
    }
    EXPECT_EQ(manager.snapshot(id.value()).value(),
        (JsonObject{ { "output", expected }, { "truncated", true }, { "exitStatus", { { "exitCode", 0 }, { "signal", nullptr } } } }));
    manager.releaseAll();
}
