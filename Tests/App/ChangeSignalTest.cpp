#include "App/ChangeSignal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tessarin
{
namespace
{

using ::testing::ElementsAre;

constexpr ModelChange planChange{ ModelChange::Kind::plan };

TEST(ChangeSignal, TellsObserversInTheOrderInWhichTheyJoined)
{
    ChangeSignal signal;
    std::vector<std::string> told;
    const auto first = signal.join([&](const ModelChange&) { told.push_back("first"); });
    const auto second = signal.join([&](const ModelChange&) { told.push_back("second"); });
    signal.fire(planChange);
    EXPECT_THAT(told, ElementsAre("first", "second"));
}

TEST(ChangeSignal, TellsTheKindAndTheRow)
{
    ChangeSignal signal;
    std::vector<ModelChange> told;
    const auto token = signal.join([&](const ModelChange& change) { told.push_back(change); });
    signal.fire({ ModelChange::Kind::entryChanged, 7 });
    EXPECT_THAT(told, ElementsAre(ModelChange{ ModelChange::Kind::entryChanged, 7 }));
}

TEST(ChangeSignal, AnObserverLeavesWithItsToken)
{
    ChangeSignal signal;
    int count = 0;
    auto token = signal.join([&](const ModelChange&) { ++count; });
    signal.fire(planChange);
    token.reset();
    signal.fire(planChange);
    EXPECT_EQ(count, 1);
}

TEST(ChangeSignal, AnObserverMayLeaveWhileItIsTold)
{
    ChangeSignal signal;
    std::vector<std::string> told;
    ChangeSignal::Subscription token;
    token = signal.join([&, text = std::string("a text that lives in the observer itself")](const ModelChange&) {
        token.reset();
        told.push_back(text);
    });
    signal.fire(planChange);
    signal.fire(planChange);
    EXPECT_THAT(told, ElementsAre("a text that lives in the observer itself"));
}

TEST(ChangeSignal, AnObserverThatJoinsDuringATellingHearsOfTheNextChange)
{
    ChangeSignal signal;
    int lateCount = 0;
    std::vector<ChangeSignal::Subscription> late;
    const auto token = signal.join([&](const ModelChange&) {
        if (late.empty()) {
            late.push_back(signal.join([&](const ModelChange&) { ++lateCount; }));
        }
    });
    signal.fire(planChange);
    EXPECT_EQ(lateCount, 0);
    signal.fire(planChange);
    EXPECT_EQ(lateCount, 1);
}

TEST(ChangeSignal, ATokenMayOutliveTheSignal)
{
    ChangeSignal::Subscription token;
    {
        ChangeSignal signal;
        token = signal.join([](const ModelChange&) {});
    }
    token.reset();
    EXPECT_EQ(token, nullptr);
}

#ifndef NDEBUG
TEST(ChangeSignalDeathTest, AnObserverThatChangesTheModelIsCaught)
{
    ChangeSignal signal;
    const auto token = signal.join([&](const ModelChange& change) { signal.fire(change); });
    EXPECT_DEATH(signal.fire(planChange), "an observer has called an operation");
}
#endif

} // namespace
} // namespace tessarin
