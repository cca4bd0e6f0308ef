#include "Platform/Json.h"
#include "Remote/RemoteCoder.h"
#include "RemoteSamples.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

namespace tessarin
{
namespace
{

const std::string start = R"({"version":1,"id":"a","type":"hello")";

std::optional<RemoteEnvelope> decodedWith(const std::string& fields)
{
    return decodeRemoteEnvelope(start + "," + fields + "}");
}

// Calls `visit`, which may change it, with each object in the value, the inner ones first.
void visitObjects(Json& value, const std::function<void(JsonObject&)>& visit)
{
    if (JsonObject* object = value.if_object()) {
        for (auto& member : *object) {
            visitObjects(member.value(), visit);
        }
        visit(*object);
    } else if (JsonArray* array = value.if_array()) {
        for (Json& element : *array) {
            visitObjects(element, visit);
        }
    }
}

// Calls `visit` with each member that the sample has, at any depth, and the document that it belongs to; what it changes is put back.
void visitMembers(const std::function<void(const Json& document, JsonObject& object, const std::string& key)>& visit)
{
    Json document = *parseJson(fullEnvelopeText);
    visitObjects(document, [&](JsonObject& object) {
        std::vector<std::string> keys;
        for (const auto& member : object) {
            keys.emplace_back(member.key());
        }
        for (const std::string& key : keys) {
            const Json before = object.at(key);
            visit(document, object, key);
            object[key] = before;
        }
    });
}

const std::set<std::string> optionalKeys{ "workspaceID", "threadID", "requestID", "text", "optionID", "permissionMode", "providerMode",
    "mediaID", "mediaKind", "mimeType", "fileName", "chunkIndex", "chunkCount", "data", "snapshot" };
const std::set<std::string> optionalInside{ "selectedWorkspaceID", "selectedThreadID", "permission", "activeProvider", "sessionID", "title",
    "status", "provider", "primaryUsedPercent", "secondaryUsedPercent", "resetsAt" };

// Whether a field of the record that the object stands for may be absent.
bool isOptional(const JsonObject& object, const std::string& key)
{
    if (object.contains("version")) {
        return optionalKeys.contains(key);
    }
    const bool isTask = object.contains("entries");
    const bool isPermission = object.contains("options");
    const bool isUsage = object.contains("exhausted");
    if (key == "title") {
        return !isTask && !isPermission;
    }
    return key == "provider" ? !isUsage : optionalInside.contains(key);
}

TEST(RemoteDecoderTest, ReadsEveryFieldOfEveryRecord)
{
    EXPECT_EQ(decodeRemoteEnvelope(fullEnvelopeText), fullEnvelope());
}

TEST(RemoteDecoderTest, ReadsTheLeastThatAMessageHas)
{
    RemoteEnvelope expected;
    expected.id = "a";
    expected.type = "hello";
    EXPECT_EQ(decodeRemoteEnvelope(start + "}"), expected);
    EXPECT_EQ(decodeRemoteEnvelope(" { \"type\" : \"hello\" , \n\t\"id\":\"\\u0061\",\"version\":1 } "), expected);
}

TEST(RemoteDecoderTest, AMessageOfAnotherVersionIsRead)
{
    const auto envelope = decodeRemoteEnvelope(R"({"version":2,"id":"a","type":"hello"})");
    ASSERT_TRUE(envelope);
    EXPECT_EQ(envelope->version, 2);
}

TEST(RemoteDecoderTest, AMessageWithoutARequiredFieldFails)
{
    EXPECT_FALSE(decodeRemoteEnvelope(R"({"id":"a","type":"hello"})"));
    EXPECT_FALSE(decodeRemoteEnvelope(R"({"version":1,"type":"hello"})"));
    EXPECT_FALSE(decodeRemoteEnvelope(R"({"version":1,"id":"a"})"));
    EXPECT_FALSE(decodeRemoteEnvelope("{}"));
}

TEST(RemoteDecoderTest, AFieldThatIsMissingFailsTheWholeIfItIsRequiredAtAnyDepth)
{
    int members = 0;
    visitMembers([&](const Json& document, JsonObject& object, const std::string& key) {
        const bool mayBeMissing = isOptional(object, key);
        const Json value = object.at(key);
        object.erase(key);
        EXPECT_EQ(decodeRemoteEnvelope(compactJson(document)).has_value(), mayBeMissing) << key;
        object[key] = value;
        ++members;
    });
    EXPECT_GT(members, 70);
}

TEST(RemoteDecoderTest, ANullIsAnAbsentOptionalFieldAndFailsARequiredOne)
{
    visitMembers([&](const Json& document, JsonObject& object, const std::string& key) {
        const bool mayBeMissing = isOptional(object, key);
        object[key] = nullptr;
        const auto withNull = decodeRemoteEnvelope(compactJson(document));
        EXPECT_EQ(withNull.has_value(), mayBeMissing) << key;
        const Json value = object.at(key);
        object.erase(key);
        EXPECT_EQ(withNull, decodeRemoteEnvelope(compactJson(document))) << key;
        object[key] = value;
    });
}

TEST(RemoteDecoderTest, AFieldOfAnotherTypeFailsTheWholeAlsoWhenItIsOptional)
{
    const std::vector<Json> values{ "text", 1, 0.5, true, JsonArray(), JsonObject(), JsonArray{ 1 }, JsonArray{ "a" } };
    visitMembers([&](const Json& document, JsonObject& object, const std::string& key) {
        const Json before = object.at(key);
        for (const Json& value : values) {
            const bool isSameType = value.kind() == before.kind() || (before.is_number() && value.is_number());
            if (isSameType && !value.is_array()) {
                continue;
            }
            object[key] = value;
            const bool isEmptyList = before.is_array() && value.is_array() && value.as_array().empty();
            EXPECT_EQ(decodeRemoteEnvelope(compactJson(document)).has_value(), isEmptyList) << key << " " << compactJson(value);
        }
    });
}

TEST(RemoteDecoderTest, UnknownKeysArePassedOverAtAnyDepth)
{
    Json document = *parseJson(fullEnvelopeText);
    visitObjects(document, [](JsonObject& object) {
        object["Version"] = JsonArray{ 1, JsonObject(), nullptr };
        object["unknown"] = JsonObject{ { "id", 1 } };
    });
    EXPECT_EQ(decodeRemoteEnvelope(compactJson(document)), fullEnvelope());
}

TEST(RemoteDecoderTest, OfAKeyThatOccursTwiceTheLastValueCounts)
{
    EXPECT_EQ(decodedWith(R"("text":"one","text":"two")")->text, "two");
    EXPECT_EQ(decodedWith(R"("text":1,"text":"two")")->text, "two");
    EXPECT_FALSE(decodedWith(R"("text":"one","text":2)"));
    EXPECT_EQ(decodedWith(R"("text":"one","text":null)")->text, std::nullopt);
}

TEST(RemoteDecoderTest, AWholeNumberWithAFractionOfZeroIsAnInteger)
{
    EXPECT_EQ(decodedWith(R"("requestID":2.0)")->requestID, 2);
    EXPECT_EQ(decodedWith(R"("requestID":2e2)")->requestID, 200);
    EXPECT_EQ(decodedWith(R"("requestID":-0.0)")->requestID, 0);
    EXPECT_EQ(decodedWith(R"("requestID":-9007199254740991.0)")->requestID, -9007199254740991);
    EXPECT_EQ(decodeRemoteEnvelope(R"({"version":1.0,"id":"a","type":"hello"})")->version, 1);
}

TEST(RemoteDecoderTest, AFractionIsNoInteger)
{
    EXPECT_FALSE(decodedWith(R"("requestID":2.5)"));
    EXPECT_FALSE(decodedWith(R"("requestID":1e-1)"));
    EXPECT_FALSE(decodedWith(R"("requestID":1000000000000000000.5)")) << "although no double tells it from a whole number";
    EXPECT_FALSE(decodeRemoteEnvelope(R"({"version":1.5,"id":"a","type":"hello"})"));
}

TEST(RemoteDecoderTest, AnIntegerHas64BitsAndASign)
{
    EXPECT_EQ(decodedWith(R"("requestID":9223372036854775807)")->requestID, INT64_MAX);
    EXPECT_EQ(decodedWith(R"("requestID":-9223372036854775808)")->requestID, INT64_MIN);
    EXPECT_FALSE(decodedWith(R"("requestID":9223372036854775808)"));
    EXPECT_FALSE(decodedWith(R"("requestID":18446744073709551615)"));
    EXPECT_FALSE(decodedWith(R"("requestID":-9223372036854775809)")) << "which no integer and so no field of this type holds";
    EXPECT_FALSE(decodedWith(R"("requestID":1e19)"));
    EXPECT_FALSE(decodedWith(R"("requestID":1e999)"));
}

TEST(RemoteDecoderTest, AWholeNumberIsADate)
{
    const auto envelope = decodeRemoteEnvelope(fullEnvelopeText);
    ASSERT_TRUE(envelope);
    EXPECT_EQ((**envelope->snapshot).workspaces[0].threads[0]->createdAt, 1);
}

TEST(RemoteDecoderTest, WhatIsNoJsonObjectFails)
{
    for (const std::string& text : { std::string(), std::string("null"), std::string("[]"), "[" + start + "}]", std::string("\"hello\""),
             std::string("1"), start, start + "}}", start + "} {", start + ",}", std::string("{'version':1}"), "\xEF\xBB\xBF" + start + "}",
             start + R"(,"text":NaN})", start + std::string("\0}", 2), std::string("\x00\x01\xFF", 3) }) {
        EXPECT_FALSE(decodeRemoteEnvelope(text)) << text;
    }
}

TEST(RemoteDecoderTest, TextThatIsNoUtf8AndALoneSurrogateFail)
{
    EXPECT_FALSE(decodedWith("\"text\":\"\xFF\""));
    EXPECT_FALSE(decodedWith("\"text\":\"\xC3\""));
    EXPECT_FALSE(decodedWith(R"("text":"\ud800")"));
    EXPECT_FALSE(decodedWith(R"("text":"\udc00\ud800")"));
    EXPECT_EQ(decodedWith(R"("text":"\ud83d\ude00\u0000")")->text, std::string("😀\0", 5));
}

TEST(RemoteDecoderTest, NestingBeyondTheLimitFails)
{
    const auto nested = [](std::size_t depth) { return R"("unknown":)" + std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_TRUE(decodedWith(nested(maximumJsonDepth - 1)));
    EXPECT_FALSE(decodedWith(nested(maximumJsonDepth)));
    EXPECT_FALSE(decodedWith(nested(1000000)));
}

TEST(RemoteDecoderTest, AMessageAsLargeAsAFrameIsRead)
{
    const std::string text(16 * 1024 * 1024 - 100, 'x');
    const auto envelope = decodedWith(R"("text":")" + text + "\"");
    ASSERT_TRUE(envelope);
    EXPECT_EQ(envelope->text, text);
}

} // namespace
} // namespace tessarin
