#include "Services/Completion.h"

#include <gtest/gtest.h>

#include <optional>

namespace tessarin
{

namespace
{

using IntCompletion = Completion<int>;

TEST(CompletionTest, HandsOutTheCallbackThatItWasGiven)
{
    std::optional<int> got;
    const IntCompletion completion([&](Result<int, AgentError> result) { got = result.value(); });
    const IntCompletion copy = completion;
    copy.take()(7);
    EXPECT_EQ(got, 7);
}

TEST(CompletionTest, AnEmptyCallbackIsOwedToo)
{
    const IntCompletion completion(nullptr);
    EXPECT_FALSE(completion.take());
}

TEST(CompletionTest, AnAbandonedOneCallsNobody)
{
    bool isCalled = false;
    {
        const IntCompletion completion([&](const Result<int, AgentError>&) { isCalled = true; });
        completion.abandon();
    }
    EXPECT_FALSE(isCalled);
}

#ifndef NDEBUG
TEST(CompletionDeathTest, StopsTheProgramWhenAFlowEndsTwice)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            const IntCompletion completion([](const Result<int, AgentError>&) {});
            static_cast<void>(completion.take());
            static_cast<void>(completion.take());
        },
        "a flow ended twice");
}

TEST(CompletionDeathTest, StopsTheProgramWhenAFlowEndsWithoutACall)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH({ const IntCompletion completion([](const Result<int, AgentError>&) {}); }, "a flow ended without its completion");
}
#endif

} // namespace

} // namespace tessarin
