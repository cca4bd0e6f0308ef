#include "App/SessionUpdateReducer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

using Kind = ModelChange::Kind;

class SessionUpdateReducerTest : public ::testing::Test
{
protected:
    std::optional<ModelChange> fold(std::string_view json)
    {
        const Json update = boost::json::parse(json);
        return SessionUpdateReducer::fold(update.as_object(), { selected, index, plan }, { isReplaying, fallbackIDs, provider, now });
    }

    const std::vector<ChatEntry>& entries() const { return thread.entries; }

    // Nothing but what a test asks for has changed.
    void expectUntouched() const
    {
        EXPECT_TRUE(entries().empty());
        EXPECT_EQ(thread.updatedAt, Instant{});
    }

    ChatThread thread;
    ChatThread* selected = &thread;
    EntryIndex index;
    std::vector<PlanEntry> plan;
    bool isReplaying = false;
    FallbackMessageIDs fallbackIDs{ "F", "thought-F" };
    std::optional<AgentProvider> provider = AgentProvider::kimi;
    Instant now{ 500 };
};

TEST_F(SessionUpdateReducerTest, DropsAnUpdateWithoutAKind)
{
    EXPECT_EQ(fold(R"({"content":{"text":"x"}})"), std::nullopt);
    EXPECT_EQ(fold(R"({"sessionUpdate":7,"content":{"text":"x"}})"), std::nullopt);
    expectUntouched();
}

TEST_F(SessionUpdateReducerTest, DropsAnUnknownKind)
{
    for (const char* kind : { "current_mode_update", "", "Plan", "agent_message_chunk " }) {
        const Json update = JsonObject{ { "sessionUpdate", kind }, { "content", { { "text", "x" } } }, { "toolCallId", "t" } };
        EXPECT_EQ(fold(boost::json::serialize(update)), std::nullopt) << kind;
    }
    expectUntouched();
    EXPECT_TRUE(plan.empty());
}

TEST_F(SessionUpdateReducerTest, AFirstChunkMakesAnEntryOfTheActiveProvider)
{
    EXPECT_EQ(fold(R"({"sessionUpdate":"agent_message_chunk","messageId":"m","content":{"type":"text","text":"Hello"}})"),
        (ModelChange{ Kind::entryAppended, 0 }));
    ASSERT_EQ(entries().size(), 1u);
    const ChatEntry expected{ "m", ChatEntryKind::assistant, "Hello", std::nullopt, std::nullopt, AgentProvider::kimi, now };
    EXPECT_EQ(entries()[0], expected);
    EXPECT_EQ(thread.updatedAt, now);
}

TEST_F(SessionUpdateReducerTest, AChunkWithoutTextChangesNothing)
{
    for (const char* content : { R"({"text":""})", R"({"type":"image"})", R"({"text":5})", R"("x")", R"(["x"])", "null" }) {
        for (const char* kind : { "agent_message_chunk", "agent_thought_chunk" }) {
            EXPECT_EQ(fold(std::string(R"({"sessionUpdate":")") + kind + R"(","content":)" + content + "}"), std::nullopt) << content;
        }
    }
    EXPECT_EQ(fold(R"({"sessionUpdate":"agent_message_chunk"})"), std::nullopt);
    expectUntouched();
}

TEST_F(SessionUpdateReducerTest, ChunksWithOneMessageIdJoinInOrder)
{
    (void)fold(R"({"sessionUpdate":"agent_message_chunk","messageId":"m","content":{"text":"one "}})");
    now = Instant{ 600 };
    provider = AgentProvider::glm;
    EXPECT_EQ(fold(R"({"sessionUpdate":"agent_message_chunk","messageId":"m","content":{"text":"two"}})"),
        (ModelChange{ Kind::entryTextAppended, 0 }));
    ASSERT_EQ(entries().size(), 1u);
    EXPECT_EQ(entries()[0].text, "one two");
    EXPECT_EQ(entries()[0].provider, AgentProvider::kimi);
    EXPECT_EQ(entries()[0].createdAt, Instant{ 500 });
    EXPECT_EQ(thread.updatedAt, Instant{ 600 });
}

TEST_F(SessionUpdateReducerTest, ChunksWithoutMessageIdShareOneEntryInATurnAndNotInTwo)
{
    const char* chunk = R"({"sessionUpdate":"agent_message_chunk","content":{"text":"x"}})";
    (void)fold(chunk);
    (void)fold(chunk);
    ASSERT_EQ(entries().size(), 1u);
    EXPECT_EQ(entries()[0].id, "F");
    EXPECT_EQ(entries()[0].text, "xx");
    fallbackIDs = { "G", "thought-G" };
    (void)fold(chunk);
    ASSERT_EQ(entries().size(), 2u);
    EXPECT_EQ(entries()[1].id, "G");
}

TEST_F(SessionUpdateReducerTest, AMessageIdOfAnotherTypeCountsAsMissing)
{
    (void)fold(R"({"sessionUpdate":"agent_message_chunk","messageId":12,"content":{"text":"x"}})");
    ASSERT_EQ(entries().size(), 1u);
    EXPECT_EQ(entries()[0].id, "F");
}

TEST_F(SessionUpdateReducerTest, AnIdReusedAcrossKindsMergesIntoTheFirstEntry)
{
    (void)fold(R"({"sessionUpdate":"agent_thought_chunk","messageId":"m","content":{"text":"hm "}})");
    (void)fold(R"({"sessionUpdate":"agent_message_chunk","messageId":"m","content":{"text":"yes"}})");
    ASSERT_EQ(entries().size(), 1u);
    EXPECT_EQ(entries()[0].kind, ChatEntryKind::thought);
    EXPECT_EQ(entries()[0].text, "hm yes");
}

TEST_F(SessionUpdateReducerTest, ThoughtsWithoutMessageIdStayApartFromTheAnswer)
{
    (void)fold(R"({"sessionUpdate":"agent_message_chunk","content":{"text":"answer"}})");
    (void)fold(R"({"sessionUpdate":"agent_thought_chunk","content":{"text":"thought"}})");
    (void)fold(R"({"sessionUpdate":"agent_message_chunk","content":{"text":"!"}})");
    ASSERT_EQ(entries().size(), 2u);
    EXPECT_EQ(entries()[0].text, "answer!");
    EXPECT_EQ(entries()[1].kind, ChatEntryKind::thought);
    EXPECT_EQ(entries()[1].id, "thought-" + entries()[0].id);
}

TEST_F(SessionUpdateReducerTest, AMessageOfTheUserOutsideAReplayAddsNothing)
{
    EXPECT_EQ(fold(R"({"sessionUpdate":"user_message_chunk","messageId":"u","content":{"text":"x"}})"), std::nullopt);
    expectUntouched();
}

TEST_F(SessionUpdateReducerTest, EachReplayedMessageOfTheUserWithoutIdStandsAlone)
{
    isReplaying = true;
    const char* chunk = R"({"sessionUpdate":"user_message_chunk","content":{"text":"x"}})";
    (void)fold(chunk);
    (void)fold(chunk);
    ASSERT_EQ(entries().size(), 2u);
    EXPECT_EQ(entries()[0].kind, ChatEntryKind::user);
    EXPECT_THAT(entries()[0].id, ::testing::MatchesRegex("replay-user-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}"));
    EXPECT_NE(entries()[0].id, entries()[1].id);
}

TEST_F(SessionUpdateReducerTest, ReplayedMessagesOfTheUserWithOneIdJoin)
{
    isReplaying = true;
    (void)fold(R"({"sessionUpdate":"user_message_chunk","messageId":"u","content":{"text":"a"}})");
    (void)fold(R"({"sessionUpdate":"user_message_chunk","messageId":"u","content":{"text":"b"}})");
    ASSERT_EQ(entries().size(), 1u);
    EXPECT_EQ(entries()[0].text, "ab");
}

TEST_F(SessionUpdateReducerTest, AToolCallMakesAnEntry)
{
    EXPECT_EQ(fold(R"({"sessionUpdate":"tool_call","toolCallId":"t","title":"Read","status":"in_progress","rawInput":{"path":"a"}})"),
        (ModelChange{ Kind::entryAppended, 0 }));
    ASSERT_EQ(entries().size(), 1u);
    const ChatEntry expected{ "t", ChatEntryKind::tool, "{\n  \"path\" : \"a\"\n}", "Read", "in_progress", AgentProvider::kimi, now };
    EXPECT_EQ(entries()[0], expected);
    EXPECT_EQ(thread.updatedAt, now);
}

TEST_F(SessionUpdateReducerTest, AToolCallWithoutItsIdAddsNothing)
{
    EXPECT_EQ(fold(R"({"sessionUpdate":"tool_call","title":"Read"})"), std::nullopt);
    EXPECT_EQ(fold(R"({"sessionUpdate":"tool_call_update","toolCallId":3})"), std::nullopt);
    expectUntouched();
}

TEST_F(SessionUpdateReducerTest, AnUpdateOfAnUnknownToolCreatesItAndARepeatedCallUpdatesIt)
{
    EXPECT_EQ(fold(R"({"sessionUpdate":"tool_call_update","toolCallId":"t","title":"Read","status":"completed"})"),
        (ModelChange{ Kind::entryAppended, 0 }));
    now = Instant{ 600 };
    EXPECT_EQ(fold(R"({"sessionUpdate":"tool_call","toolCallId":"t","title":"Read again","status":"strange word"})"),
        (ModelChange{ Kind::entryChanged, 0 }));
    ASSERT_EQ(entries().size(), 1u);
    EXPECT_EQ(entries()[0].title, "Read again");
    EXPECT_EQ(entries()[0].status, "strange word");
    EXPECT_EQ(entries()[0].createdAt, Instant{ 500 });
    EXPECT_EQ(thread.updatedAt, Instant{ 600 });
}

TEST_F(SessionUpdateReducerTest, AnUpdateThatOmitsTitleAndStatusPutsTheDefaultsBack)
{
    (void)fold(R"({"sessionUpdate":"tool_call","toolCallId":"t","title":"Read","status":"in_progress"})");
    (void)fold(R"({"sessionUpdate":"tool_call_update","toolCallId":"t"})");
    ASSERT_EQ(entries().size(), 1u);
    EXPECT_EQ(entries()[0].title, "Using a tool");
    EXPECT_EQ(entries()[0].status, "pending");
}

TEST_F(SessionUpdateReducerTest, TheDetailOfAToolIsPrettyWithSortedKeysAndStaysUntilAnotherComes)
{
    (void)fold(R"({"sessionUpdate":"tool_call","toolCallId":"t","rawInput":{"b":1,"a":"x/y"}})");
    const std::string detail = "{\n  \"a\" : \"x\\/y\",\n  \"b\" : 1\n}";
    EXPECT_EQ(entries().at(0).text, detail);
    for (const char* rawInput : { R"("ls")", "5", "null", "true" }) {
        (void)fold(std::string(R"({"sessionUpdate":"tool_call_update","toolCallId":"t","rawInput":)") + rawInput + "}");
        EXPECT_EQ(entries().at(0).text, detail) << rawInput;
    }
    (void)fold(R"({"sessionUpdate":"tool_call_update","toolCallId":"t"})");
    EXPECT_EQ(entries().at(0).text, detail);
    (void)fold(R"({"sessionUpdate":"tool_call_update","toolCallId":"t","rawInput":["z"]})");
    EXPECT_EQ(entries().at(0).text, "[\n  \"z\"\n]");
}

TEST_F(SessionUpdateReducerTest, AScalarRawInputGivesAnEmptyDetail)
{
    for (const Json& rawInput : { Json("ls"), Json(5), Json(nullptr), Json(true) }) {
        const std::string id = "t" + std::to_string(entries().size());
        const Json update = JsonObject{ { "sessionUpdate", "tool_call" }, { "toolCallId", id }, { "rawInput", rawInput } };
        ASSERT_EQ(fold(boost::json::serialize(update)).value_or(ModelChange{ Kind::plan }).kind, Kind::entryAppended);
        EXPECT_EQ(entries().back().text, "") << update;
    }
    EXPECT_EQ(entries().size(), 4u);
}

TEST_F(SessionUpdateReducerTest, ARawInputThatHasNoJsonGivesAnEmptyDetail)
{
    JsonObject update{ { "sessionUpdate", "tool_call" }, { "toolCallId", "t" } };
    update["rawInput"] = JsonObject{ { "x", std::numeric_limits<double>::quiet_NaN() } };
    (void)SessionUpdateReducer::fold(update, { selected, index, plan }, { isReplaying, fallbackIDs, provider, now });
    ASSERT_EQ(entries().size(), 1u);
    EXPECT_EQ(entries()[0].text, "");
}

TEST_F(SessionUpdateReducerTest, AToolUpdateMergesIntoTheFirstEntryWithItsIdWhateverItsKind)
{
    (void)fold(R"({"sessionUpdate":"agent_message_chunk","messageId":"m","content":{"text":"text"}})");
    EXPECT_EQ(fold(R"({"sessionUpdate":"tool_call","toolCallId":"m","title":"Read"})"), (ModelChange{ Kind::entryChanged, 0 }));
    ASSERT_EQ(entries().size(), 1u);
    EXPECT_EQ(entries()[0].kind, ChatEntryKind::assistant);
    EXPECT_EQ(entries()[0].text, "text");
    EXPECT_EQ(entries()[0].title, "Read");
}

TEST_F(SessionUpdateReducerTest, APlanTakesItsDefaults)
{
    EXPECT_EQ(fold(R"({"sessionUpdate":"plan","entries":[{}]})"), (ModelChange{ Kind::plan }));
    EXPECT_EQ(plan, (std::vector<PlanEntry>{ { "plan-0", "Task", "pending", "medium" } }));
}

TEST_F(SessionUpdateReducerTest, APlanReplacesThePlanBeforeInOrder)
{
    plan = { { "old", "old", "old", "old" } };
    (void)fold(
        R"({"sessionUpdate":"plan","entries":[{"id":"a","content":"Write","status":"done","priority":"high"},{"content":"Test","id":4}]})");
    EXPECT_EQ(plan, (std::vector<PlanEntry>{ { "a", "Write", "done", "high" }, { "plan-1", "Test", "pending", "medium" } }));
    expectUntouched();
}

TEST_F(SessionUpdateReducerTest, APlanWithoutEntriesEmptiesThePlan)
{
    for (const char* update : { R"({"sessionUpdate":"plan"})", R"({"sessionUpdate":"plan","entries":{}})",
             R"({"sessionUpdate":"plan","entries":[]})", R"({"sessionUpdate":"plan","entries":[{},"x"]})" }) {
        plan = { { "old", "old", "old", "old" } };
        EXPECT_EQ(fold(update), (ModelChange{ Kind::plan })) << update;
        EXPECT_TRUE(plan.empty()) << update;
    }
}

TEST_F(SessionUpdateReducerTest, WithoutASelectedTaskOnlyAPlanIsTaken)
{
    selected = nullptr;
    isReplaying = true;
    for (const char* kind : { "agent_message_chunk", "agent_thought_chunk", "user_message_chunk", "tool_call", "tool_call_update" }) {
        const Json update = JsonObject{ { "sessionUpdate", kind }, { "content", { { "text", "x" } } }, { "toolCallId", "t" } };
        EXPECT_EQ(fold(boost::json::serialize(update)), std::nullopt) << kind;
    }
    EXPECT_EQ(fold(R"({"sessionUpdate":"plan","entries":[{}]})"), (ModelChange{ Kind::plan }));
    EXPECT_EQ(plan.size(), 1u);
}

TEST_F(SessionUpdateReducerTest, WithoutAnActiveProviderAnEntryHasNone)
{
    provider.reset();
    (void)fold(R"({"sessionUpdate":"agent_message_chunk","content":{"text":"x"}})");
    EXPECT_EQ(entries().at(0).provider, std::nullopt);
}

TEST(FallbackMessageIDs, AreDrawnAnewAndBelongTogether)
{
    const auto one = FallbackMessageIDs::random();
    const auto two = FallbackMessageIDs::random();
    EXPECT_NE(one.message, two.message);
    EXPECT_TRUE(Uuid::parse(one.message));
    EXPECT_EQ(one.thought, "thought-" + one.message);
}

} // namespace
} // namespace tessarin
