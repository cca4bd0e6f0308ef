#include "Services/UpdateEnvelope.h"

#include <gtest/gtest.h>

#include <string>

namespace tessarin
{

namespace
{

const std::string start = R"({"jsonrpc":"2.0","method":"session/update","params":{"sessionId":"s-1","update":)";

std::string line(const std::string& update)
{
    return start + update + "}}";
}

// The update as text; "none" when the line has to be parsed whole.
std::string read(const UpdateEnvelope& envelope, const std::string& text)
{
    const auto update = envelope.updateIn(text, {});
    return update ? compactJson(*update) : "none";
}

// What a line carries when it is parsed whole.
std::string readWhole(const std::string& text)
{
    const auto message = parseJson(text);
    const JsonObject* object = message ? message->if_object() : nullptr;
    const JsonObject* params = object ? objectAt(*object, "params") : nullptr;
    const JsonObject* update = params ? objectAt(*params, "update") : nullptr;
    return update ? compactJson(*update) : "none";
}

class UpdateEnvelopeTest : public testing::Test
{
protected:
    UpdateEnvelope m_envelope;
};

TEST_F(UpdateEnvelopeTest, NothingIsReadBeforeAnEnvelopeIsKnown)
{
    EXPECT_EQ(read(m_envelope, line("{}")), "none");
}

TEST_F(UpdateEnvelopeTest, ALineInTheLearnedEnvelopeGivesItsUpdate)
{
    m_envelope.learn(line(R"({"sessionUpdate":"plan"})"));
    EXPECT_EQ(read(m_envelope, line(R"({"sessionUpdate":"tool_call","rawInput":{"a":[1,"}}"]}})")),
        R"({"sessionUpdate":"tool_call","rawInput":{"a":[1,"}}"]}})");
    EXPECT_EQ(read(m_envelope, line("{}")), "{}");
}

TEST_F(UpdateEnvelopeTest, BlanksAndACarriageReturnBelongToTheEnvelope)
{
    const std::string spaced = R"({ "method": "session/update", "params": { "update": {"a":1} } })"
                               "\r";
    m_envelope.learn(spaced);
    EXPECT_EQ(read(m_envelope, spaced), R"({"a":1})");
}

TEST_F(UpdateEnvelopeTest, AnotherSessionIsAnotherEnvelope)
{
    m_envelope.learn(line("{}"));
    EXPECT_EQ(read(m_envelope, R"({"jsonrpc":"2.0","method":"session/update","params":{"sessionId":"s-2","update":{}}})"), "none");
}

TEST_F(UpdateEnvelopeTest, OnlyOneWholeObjectIsAnUpdate)
{
    m_envelope.learn(line("{}"));
    for (const char* inside : { "", "1", "[]", "{", "{}}", "{}{}", R"({},"update":{"other":1})", R"({},"x":{})", "{\"a\":\"\xff\"}" }) {
        EXPECT_EQ(read(m_envelope, line(inside)), "none") << inside;
    }
    EXPECT_EQ(read(m_envelope, start + "}"), "none") << "shorter than the envelope";
}

TEST_F(UpdateEnvelopeTest, DepthIsCountedFromTheWholeMessage)
{
    m_envelope.learn(line("{}"));
    for (const std::size_t depth : { maximumJsonDepth - 4, maximumJsonDepth - 3, maximumJsonDepth - 2, maximumJsonDepth }) {
        const std::string text = line(R"({"a":)" + std::string(depth, '[') + std::string(depth, ']') + "}");
        EXPECT_EQ(read(m_envelope, text), readWhole(text)) << depth;
    }
}

TEST_F(UpdateEnvelopeTest, WhatIsNoPlainNotificationIsNotLearned)
{
    const char* const lines[] = {
        R"({"id":"text","method":"session/update","params":{"update":{}}})",
        R"({"method":"session/update","params":{"update":{}},"id":1})",
        R"({"method":"session/update","params":{"update":{}},"method":"other"})",
        R"({"method":"session/update","params":{"update":{}},"params":{"x":{}}})",
        R"({"method":"session/update","params":{"x\"update":5,"update":{}}})",
        R"({"method":"session/update","params":{"update":{},"update":{}}})",
        R"({"method":"session/update","params":{"a":{"update":{}}}})",
        R"({"update":{},"method":"session/update","params":{}})",
    };
    for (const char* text : lines) {
        UpdateEnvelope envelope;
        envelope.learn(text);
        EXPECT_EQ(read(envelope, text), "none") << text;
    }
}

TEST_F(UpdateEnvelopeTest, ANewEnvelopeTakesThePlaceOfTheOldOne)
{
    const std::string other = R"({"method":"session/update","params":{"update":{"a":1}}})";
    m_envelope.learn(line("{}"));
    m_envelope.learn(other);
    EXPECT_EQ(read(m_envelope, other), R"({"a":1})");
    EXPECT_EQ(read(m_envelope, line("{}")), "none");
}

TEST_F(UpdateEnvelopeTest, EnvelopesThatNeverStayTheSameAreGivenUp)
{
    std::string text;
    for (int number = 0; number < 100; ++number) {
        text = R"({"method":"session/update","params":{"n":)" + std::to_string(number) + R"(,"update":{}}})";
        m_envelope.learn(text);
    }
    EXPECT_EQ(read(m_envelope, text), "none");
}

} // namespace

} // namespace tessarin
