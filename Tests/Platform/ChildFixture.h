#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/SerialQueue.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tessarin
{

// For each wait: far above what the slowest build needs, so that only what never comes is late.
inline constexpr std::chrono::seconds childTestBound{ 60 };

// What a child's callbacks were told, readable from the thread of the test.
class ChildRecord
{
public:
    struct Told {
        std::string output;
        std::string errorOutput;
        std::vector<std::string> inputFailures;
        std::optional<ChildEnd> end;
        int ends = 0;
        bool wasToldAfterEnd = false;
    };

    [[nodiscard]] static ChildProcess::Callbacks callbacks(const std::shared_ptr<ChildRecord>& record);
    [[nodiscard]] Told told() const;
    // False when the time is over before the condition holds.
    [[nodiscard]] bool waitUntil(const std::function<bool(const Told&)>& condition) const;
    [[nodiscard]] bool waitForEnd() const;

private:
    void change(const std::function<void(Told&)>& change);

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    Told m_told;
};

// Runs children on one queue and looks at what they leave behind.
class ChildFixture : public testing::Test
{
protected:
    // The program that has a child's habits, with the name of one and what it takes.
    [[nodiscard]] static ChildLaunch probe(std::vector<std::string> arguments);
    [[nodiscard]] static ChildLaunch shell(const std::string& commands);

    // Starts a child on the queue and records what it does; a failed start fails the test.
    std::shared_ptr<ChildProcess> start(const ChildLaunch& launch);
    std::shared_ptr<ChildProcess> start(const ChildLaunch& launch, const std::shared_ptr<ChildRecord>& to);
    // Runs a child to its end.
    ChildRecord::Told run(const ChildLaunch& launch);

    // Of this process: open descriptors, and whether it has children, alive or not yet collected.
    [[nodiscard]] static int openDescriptors();
    [[nodiscard]] static bool hasChildren();

    std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("com.local.tessarin.test");
    std::shared_ptr<ChildRecord> record = std::make_shared<ChildRecord>();
};

} // namespace tessarin
