#include "Services/EventOutbox.h"

#include "Platform/MainThread.h"
#include "Services/AgentClient.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tessarin
{

namespace
{

// Does nothing; has callbacks.
class SilentClient final : public AgentClient
{
public:
    [[nodiscard]] AgentProvider provider() const override { return AgentProvider::grok; }
    void start(std::optional<std::string>, StartCompletion) override { }
    void sendPrompt(std::string, PromptCompletion) override { }
    void cancel() override { }
    void respondToPermission(std::int64_t, std::string) override { }
    void stop() override { }
};

class EventOutboxTest : public testing::Test
{
protected:
    EventOutboxTest()
    {
        m_gate->open(m_client, [this] { ++m_drained; });
        m_client->onSessionUpdate = [this](const SessionUpdate& update) { m_events.emplace_back(textAt(update, "text").value()); };
    }

    void addUpdate(std::string_view json)
    {
        m_outbox.batch().add(std::move(parseJson(json, m_outbox.batch().storageFor(json.size()))->get_object()));
    }
    void addNotice(const std::string& name)
    {
        m_outbox.batch().add([this, name](AgentClient&) { m_events.push_back(name); });
    }
    void addAnswer(const std::string& name)
    {
        m_outbox.batch().add([this, name] { m_events.push_back(name); });
    }
    // Posts an event that stands for so many bytes.
    bool post(std::size_t bytes)
    {
        static_cast<void>(m_outbox.batch().storageFor(bytes));
        addAnswer("answer");
        return m_outbox.flush();
    }

    MainThread m_mainThread;
    std::shared_ptr<SilentClient> m_client = std::make_shared<SilentClient>();
    std::shared_ptr<EventGate> m_gate = std::make_shared<EventGate>();
    EventOutbox m_outbox{ m_mainThread, m_gate };
    std::vector<std::string> m_events;
    int m_drained = 0;
};

using Events = std::vector<std::string>;
constexpr std::size_t limit = EventGate::byteLimit;

TEST_F(EventOutboxTest, EventsOfAllKindsArriveInTheirOrder)
{
    addUpdate(R"({"text":"u1"})");
    addNotice("n");
    addUpdate(R"({"text":"u2"})");
    addAnswer("a");
    EXPECT_FALSE(m_outbox.flush());
    EXPECT_EQ(m_events, Events());
    m_mainThread.drain();
    EXPECT_EQ(m_events, (Events{ "u1", "n", "u2", "a" }));
}

TEST_F(EventOutboxTest, ABatchIsOnePost)
{
    addUpdate(R"({"text":"u1"})");
    addUpdate(R"({"text":"u2"})");
    EXPECT_FALSE(m_outbox.flush());
    addUpdate(R"({"text":"u3"})");
    EXPECT_FALSE(m_outbox.flush());
    EXPECT_TRUE(m_mainThread.drain(std::chrono::milliseconds(0)));
    EXPECT_EQ(m_events, (Events{ "u1", "u2" }));
    EXPECT_FALSE(m_mainThread.drain());
    EXPECT_EQ(m_events, (Events{ "u1", "u2", "u3" }));
}

TEST_F(EventOutboxTest, NothingIsPostedWithoutEvents)
{
    EXPECT_FALSE(m_outbox.flush());
    static_cast<void>(m_outbox.batch().storageFor(100)); // a line that was dropped
    EXPECT_FALSE(m_outbox.flush());
    EXPECT_FALSE(m_mainThread.waitAndDrain(std::chrono::milliseconds(0)));
}

TEST_F(EventOutboxTest, WhatWasPostedArrivesAfterTheGateHasClosed)
{
    addUpdate(R"({"text":"u"})");
    addNotice("n");
    addAnswer("a");
    EXPECT_FALSE(m_outbox.flush());
    m_gate->close();
    m_mainThread.drain();
    EXPECT_EQ(m_events, (Events{ "u", "n", "a" }));
}

TEST_F(EventOutboxTest, WhatWasPostedArrivesAlsoWhenTheClientHasBeenDropped)
{
    addUpdate(R"({"text":"u"})");
    EXPECT_FALSE(m_outbox.flush());
    m_client.reset();
    m_mainThread.drain();
    EXPECT_EQ(m_events, Events{ "u" });
}

TEST_F(EventOutboxTest, AClientThatIsGoneBeforeThePostGetsNothingAndAnswersStillGoOut)
{
    addUpdate(R"({"text":"u"})");
    addNotice("n");
    addAnswer("a");
    m_client.reset();
    EXPECT_FALSE(m_outbox.flush());
    m_mainThread.drain();
    EXPECT_EQ(m_events, Events{ "a" });
}

TEST_F(EventOutboxTest, AnUnsetCallbackIsSkipped)
{
    m_client->onSessionUpdate = nullptr;
    addUpdate(R"({"text":"u"})");
    EXPECT_FALSE(m_outbox.flush());
    m_mainThread.drain();
    EXPECT_EQ(m_events, Events());
}

TEST_F(EventOutboxTest, ReadingPausesOnceWhenMoreThanTheLimitWaits)
{
    EXPECT_FALSE(post(limit));
    EXPECT_FALSE(m_gate->isFull());
    EXPECT_TRUE(post(1));
    EXPECT_TRUE(m_gate->isFull());
    EXPECT_FALSE(post(1));
}

TEST_F(EventOutboxTest, ReadingGoesOnWhenHalfOfTheLimitIsLeft)
{
    EXPECT_FALSE(post(limit / 2));
    EXPECT_FALSE(post(limit / 2));
    EXPECT_TRUE(post(limit / 4));
    EXPECT_TRUE(m_mainThread.drain(std::chrono::milliseconds(0)));
    EXPECT_EQ(m_drained, 0);
    EXPECT_TRUE(m_gate->isFull());
    EXPECT_TRUE(m_mainThread.drain(std::chrono::milliseconds(0)));
    EXPECT_EQ(m_drained, 1);
    EXPECT_FALSE(m_gate->isFull());
    m_mainThread.drain();
    EXPECT_EQ(m_drained, 1);
    EXPECT_TRUE(post(limit + 1));
}

TEST_F(EventOutboxTest, UpdatesKeepVendorKeysAndMayBeCopiedToBeKept)
{
    std::optional<JsonObject> kept;
    m_client->onSessionUpdate = [&](const SessionUpdate& update) { kept = keptCopy(update); };
    const std::string text(5000, 'x');
    addUpdate(R"({"sessionUpdate":"tool_call","_meta":{"vendor":[1,{"deep":")" + text + R"("}]}})");
    EXPECT_FALSE(m_outbox.flush());
    m_mainThread.drain();
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->at("_meta").at("vendor").at(1).at("deep").as_string(), text);
}

} // namespace

} // namespace tessarin
