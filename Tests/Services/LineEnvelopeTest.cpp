#include "Services/LineEnvelope.h"

#include <gtest/gtest.h>

#include <random>
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

std::string timed(const std::string& delta, const std::string& time)
{
    return R"({"method":"item/delta","params":{"itemId":"i-1","delta":)" + delta + R"(},"at":)" + time + "}";
}

// The value as text; "none" when the line has to be parsed whole.
std::string read(LineEnvelope& envelope, const std::string& text)
{
    const auto value = envelope.valueIn(text, {});
    return value ? compactJson(*value) : "none";
}

// What a line carries under two keys when it is parsed whole.
std::string readWhole(const std::string& text, std::string_view outer, std::string_view inner)
{
    const auto message = parseJson(text);
    const JsonObject* object = message ? message->if_object() : nullptr;
    const JsonObject* params = object ? objectAt(*object, outer) : nullptr;
    const Json* value = params ? params->if_contains(inner) : nullptr;
    return value ? compactJson(*value) : "none";
}

class LineEnvelopeTest : public testing::Test
{
protected:
    LineEnvelope m_envelope{ "params.update" };
    LineEnvelope m_timed{ "params.delta", "at" };
};

TEST_F(LineEnvelopeTest, NothingIsReadBeforeAnEnvelopeIsKnown)
{
    EXPECT_EQ(read(m_envelope, line("{}")), "none");
}

TEST_F(LineEnvelopeTest, ALineInTheLearnedEnvelopeGivesItsValue)
{
    m_envelope.learn(line(R"({"sessionUpdate":"plan","a":["]}",{"b":"\\\""}]})"));
    EXPECT_EQ(read(m_envelope, line(R"({"sessionUpdate":"tool_call","rawInput":{"a":[1,"}}"]}})")),
        R"({"sessionUpdate":"tool_call","rawInput":{"a":[1,"}}"]}})");
    EXPECT_EQ(read(m_envelope, line("{}")), "{}");
}

TEST_F(LineEnvelopeTest, ATextIsAValueToo)
{
    m_envelope.learn(line(R"("a \" } \\")"));
    EXPECT_EQ(read(m_envelope, line(R"("b\n\u00e9")")), "\"b\\né\"");
    EXPECT_EQ(read(m_envelope, line(R"("")")), R"("")");
}

TEST_F(LineEnvelopeTest, BlanksAndACarriageReturnBelongToTheEnvelope)
{
    const std::string spaced = R"({ "method": "session/update", "params": { "update": {"a":1} } })"
                               "\r";
    m_envelope.learn(spaced);
    EXPECT_EQ(read(m_envelope, spaced), R"({"a":1})");
}

TEST_F(LineEnvelopeTest, WhatElseComesAfterTheValueBelongsToTheEnvelope)
{
    const std::string more = R"({"params":{"update":{"a":1},"x":[1,{"update":2}]},"y":"}"})";
    m_envelope.learn(more);
    EXPECT_EQ(read(m_envelope, more), R"({"a":1})");
    EXPECT_EQ(read(m_envelope, R"({"params":{"update":{"a":1},"x":[1,{"update":3}]},"y":"}"})"), "none");
}

TEST_F(LineEnvelopeTest, AnotherSessionIsAnotherEnvelope)
{
    m_envelope.learn(line("{}"));
    EXPECT_EQ(read(m_envelope, R"({"jsonrpc":"2.0","method":"session/update","params":{"sessionId":"s-2","update":{}}})"), "none");
}

TEST_F(LineEnvelopeTest, OnlyOneWholeValueIsRead)
{
    m_envelope.learn(line("{}"));
    for (const char* inside : { "", "{", "{}}", "{}{}", R"({},"update":{"other":1})", R"({},"x":{})", "{\"a\":\"\xff\"}", "\"a", "a" }) {
        EXPECT_EQ(read(m_envelope, line(inside)), "none") << inside;
    }
    EXPECT_EQ(read(m_envelope, start + "}"), "none") << "shorter than the envelope";
}

TEST_F(LineEnvelopeTest, DepthIsCountedFromTheWholeMessage)
{
    m_envelope.learn(line("{}"));
    for (const std::size_t depth : { maximumJsonDepth - 4, maximumJsonDepth - 3, maximumJsonDepth - 2, maximumJsonDepth }) {
        const std::string text = line(R"({"a":)" + std::string(depth, '[') + std::string(depth, ']') + "}");
        EXPECT_EQ(read(m_envelope, text), readWhole(text, "params", "update")) << depth;
    }
}

TEST_F(LineEnvelopeTest, WhatIsNotTheValueAtThePathIsNotLearned)
{
    const char* const lines[] = {
        R"({"method":"session/update","params":{"update":{}},"params":{"x":{}}})",
        R"({"method":"session/update","params":{"x\"update":5,"update":{}}})",
        R"({"method":"session/update","params":{"update":{},"update":{}}})",
        R"({"method":"session/update","params":{"a":{"update":{}}}})",
        R"({"update":{},"method":"session/update","params":{}})",
        R"({"a":"\"update\":{}","params":{"update" : {}}})",
    };
    for (const char* text : lines) {
        LineEnvelope envelope{ "params.update" };
        envelope.learn(text);
        EXPECT_EQ(read(envelope, text), "none") << text;
    }
}

TEST_F(LineEnvelopeTest, ANewEnvelopeTakesThePlaceOfTheOldOne)
{
    const std::string other = R"({"method":"session/update","params":{"update":{"a":1}}})";
    m_envelope.learn(line("{}"));
    m_envelope.learn(other);
    EXPECT_EQ(read(m_envelope, other), R"({"a":1})");
    EXPECT_EQ(read(m_envelope, line("{}")), "none");
}

TEST_F(LineEnvelopeTest, EnvelopesThatNeverStayTheSameAreGivenUp)
{
    std::string text;
    for (int number = 0; number < 100; ++number) {
        text = R"({"method":"session/update","params":{"n":)" + std::to_string(number) + R"(,"update":{}}})";
        m_envelope.learn(text);
    }
    EXPECT_EQ(read(m_envelope, text), "none");
}

TEST_F(LineEnvelopeTest, EnvelopesThatAreOfUseAreLearnedWithoutEnd)
{
    for (int number = 0; number < 100; ++number) {
        const std::string text = R"({"method":"session/update","params":{"n":)" + std::to_string(number) + R"(,"update":{}}})";
        m_envelope.learn(text);
        EXPECT_EQ(read(m_envelope, text), "{}") << number;
    }
}

TEST_F(LineEnvelopeTest, AValueThatNobodyReadsMayDiffer)
{
    m_timed.learn(timed(R"("a")", "1795199468972"));
    for (const char* time : { "1795199468972", "1", "999999999999999999", R"("39466ed0-98d8-482b_95a0")", R"("")" }) {
        EXPECT_EQ(read(m_timed, timed(R"("b")", time)), R"("b")") << time;
    }
    LineEnvelope named{ "params.delta", "at" };
    named.learn(timed(R"("a")", R"("39466ed0")"));
    EXPECT_EQ(read(named, timed(R"("b")", R"("8cf5e466-f562")")), R"("b")");
}

TEST_F(LineEnvelopeTest, OnlyAPlainValueIsPassedOver)
{
    m_timed.learn(timed(R"("a")", "1795199468972"));
    for (const char* time :
        { "", "01", "0", "-1", "1.5", "1e5", "null", "1,\"id\":2", "\"a\\\"", "\"a b\"", "\"", "a\"", "{}", "1234567890123456789" }) {
        EXPECT_EQ(read(m_timed, timed(R"("b")", time)), "none") << time;
    }
}

TEST_F(LineEnvelopeTest, AValueThatIsNotPlainBelongsToTheEnvelope)
{
    for (const char* time : { "-1", "1.5", "0", "null", R"("a b")", R"({"a":1})" }) {
        LineEnvelope envelope{ "params.delta", "at" };
        envelope.learn(timed(R"("a")", time));
        EXPECT_EQ(read(envelope, timed(R"("b")", time)), R"("b")") << time;
        EXPECT_EQ(read(envelope, timed(R"("b")", "1795199468972")), "none") << time;
    }
}

TEST_F(LineEnvelopeTest, AValueThatNobodyReadsBeforeTheOneThatIsReadBelongsToTheEnvelope)
{
    const auto early = [](const char* time) { return std::string(R"({"at":)") + time + R"(,"params":{"delta":"a"}})"; };
    m_timed.learn(early("1"));
    EXPECT_EQ(read(m_timed, early("1")), R"("a")");
    EXPECT_EQ(read(m_timed, early("2")), "none");
}

// Whatever is read by an envelope is what the whole line says.
TEST_F(LineEnvelopeTest, ADamagedLineIsNeverReadAsSomethingElse)
{
    const std::string whole = timed(R"("a\"}b")", "1795199468972");
    m_timed.learn(whole);
    std::mt19937 random(20260101);
    const std::string_view bytes = "\"\\{}[]:, 0129eE.-+abdelt\xff";
    std::size_t readByEnvelope = 0;
    for (int round = 0; round < 20'000; ++round) {
        std::string text = whole;
        for (auto changes = 1 + random() % 3; changes > 0; --changes) {
            const std::size_t place = random() % text.size();
            const char byte = bytes[random() % bytes.size()];
            if (random() % 3 == 0)
                text.erase(place, 1);
            else if (random() % 2 == 0)
                text.insert(place, 1, byte);
            else
                text[place] = byte;
        }
        const std::string given = read(m_timed, text);
        if (given != "none") {
            ++readByEnvelope;
            ASSERT_EQ(given, readWhole(text, "params", "delta")) << text;
            ASSERT_EQ(textAt(parseJson(text)->as_object().at("params").as_object(), "itemId"), "i-1") << text;
        }
    }
    EXPECT_GT(readByEnvelope, 500);
}

} // namespace

} // namespace tessarin
