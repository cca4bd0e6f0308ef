#include "Models/WorkspaceCoder.h"

#include "Platform/Json.h"
#include "SampleTree.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>

namespace tessarin
{
namespace
{

using Sessions = std::map<std::string, std::string>;

TEST(WorkspaceCoderTest, WritesTheStoredFormToTheLetter)
{
    EXPECT_EQ(encodeWorkspaces(fullTree()), fullTreeText);
}

TEST(WorkspaceCoderTest, LeavesOutAbsentFieldsAndWritesEmptyLists)
{
    Workspace workspace{ .id = Uuid(), .name = "a", .path = "/a", .threads = {} };
    EXPECT_EQ(encodeWorkspaces({ workspace }), R"([{"id":"00000000-0000-0000-0000-000000000000","name":"a","path":"/a","threads":[]}])");
    ChatThread thread;
    thread.providerSessionIDs.emplace();
    workspace.threads = { ChatThread(), thread };
    EXPECT_EQ(encodeWorkspaces({ workspace }),
        R"([{"id":"00000000-0000-0000-0000-000000000000","name":"a","path":"/a","threads":[)"
        R"({"id":"00000000-0000-0000-0000-000000000000","title":"","entries":[],"createdAt":0,"updatedAt":0},)"
        R"({"id":"00000000-0000-0000-0000-000000000000","title":"","providerSessionIDs":{},"entries":[],"createdAt":0,"updatedAt":0}]}])");
    EXPECT_EQ(encodeWorkspaces({}), "[]");
}

TEST(WorkspaceCoderTest, ReadsWhatItWrites)
{
    EXPECT_EQ(decodeWorkspaces(fullTreeText), fullTree());
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        RandomTree random(seed);
        std::vector<Workspace> tree;
        for (std::size_t count = random.below(4); count > 0; --count) {
            tree.push_back(random.workspace("/tmp", 4, 20, 30));
        }
        ASSERT_EQ(decodeWorkspaces(encodeWorkspaces(tree).value()), tree) << "seed " << seed;
    }
}

TEST(WorkspaceCoderTest, KeysInAnyOrderWithAnyWhiteSpaceAreTheSame)
{
    EXPECT_EQ(decodeWorkspaces(R"( [ { "threads" : [ { "updatedAt" : 785000001.0 , "createdAt" : -1.5e0 , "entries" : [
        { "createdAt":785000000.123456,"text":"a\u000a\u0022b\u0022 \\ \/ \u00e9 \ud83d\ude00 \u0001","provider":"claude","id":"call-1",
          "status":"pending","title":"Read src/main.cpp","kind":"tool" } , { "createdAt":0,"id":"2","text":"","kind":"user" } ] ,
        "lastProvider":"codex","providerSessionIDs":{"grok":"grok session","codex":"codex session"},"sessionId":"grok session","title":"New task",
        "id":"11111111-2222-4333-8444-55555555aaaa" } ] , "path":"/tmp" , "n\u0061me":"tmp" , "id":"abcdef01-2345-4789-8abc-def012345678" } ] )"),
        fullTree());
}

TEST(WorkspaceCoderTest, UnknownKeysArePassedOver)
{
    const std::string unknown
        = R"("extra":{"id":1,"entries":[{"kind":"note"},[[]],null],"threads":{}},"other":[1,2.5,true,null,"x\n"],"e\n":"a\nb","n":null,"f":1e5,)";
    std::string text = fullTreeText;
    for (std::size_t position = 0; (position = text.find('{', position)) != std::string::npos; position += unknown.size() + 1) {
        if (text[position + 2] == 'i') {
            text.insert(position + 1, unknown);
        }
    }
    EXPECT_EQ(decodeWorkspaces(text), fullTree());
}

TEST(WorkspaceCoderTest, UnknownKeysNestAsDeepAsTheLimitAndNoDeeper)
{
    const auto withNesting = [](std::size_t depth) {
        std::string text = fullTreeText;
        return text.insert(2, "\"extra\":" + std::string(depth, '[') + std::string(depth, ']') + ",");
    };
    EXPECT_EQ(decodeWorkspaces(withNesting(maximumJsonDepth - 2)), fullTree());
    EXPECT_FALSE(decodeWorkspaces(withNesting(maximumJsonDepth - 1)));
    EXPECT_FALSE(decodeWorkspaces(withNesting(1'000'000)));
}

TEST(WorkspaceCoderTest, TheLastOfSeveralValuesOfAKeyCounts)
{
    const std::string task = R"("id":"11111111-2222-4333-8444-55555555AAAA","title":"a","createdAt":1,"updatedAt":1)";
    const std::string entry = R"({"id":"e","kind":"user","text":"x","createdAt":1})";
    const auto tree = decodeWorkspaces(R"([{"id":"ABCDEF01-2345-4789-8ABC-DEF012345678","name":"a","name":"b","path":"/a",)"
                                       R"("threads":[{)"
        + task + R"(,"entries":[]},{)" + task + R"(,"entries":[]}],"threads":[{)" + task + R"(,"entries":[)" + entry + "," + entry
        + R"(],"title":"b","sessionId":"s","sessionId":null,"providerSessionIDs":{"a":"1"},"providerSessionIDs":{"b":"2"},"entries":[)"
        + entry + "]}]}]");
    ASSERT_TRUE(tree);
    EXPECT_EQ(tree->at(0).name, "b");
    ASSERT_EQ(tree->at(0).threads.size(), 1U);
    const ChatThread& thread = tree->at(0).threads[0];
    EXPECT_EQ(thread.title, "b");
    EXPECT_EQ(thread.entries.size(), 1U);
    EXPECT_EQ(thread.sessionId, std::nullopt);
    EXPECT_EQ(thread.providerSessionIDs, (std::map<std::string, std::string>{ { "b", "2" } }));
}

TEST(WorkspaceCoderTest, AnOlderRecordWithASessionIdAloneResumesUnderGrok)
{
    const auto tree = decodeWorkspaces(
        R"([{"id":"ABCDEF01-2345-4789-8ABC-DEF012345678","name":"a","path":"/a","threads":[)"
        R"({"id":"11111111-2222-4333-8444-55555555AAAA","title":"t","sessionId":"s","entries":[],"createdAt":0,"updatedAt":0}]}])");
    ASSERT_TRUE(tree);
    EXPECT_EQ(tree->at(0).threads[0].sessionID(AgentProvider::grok), "s");
    EXPECT_EQ(tree->at(0).threads[0].lastProvider, std::nullopt);
}

TEST(WorkspaceCoderTest, AnInstantOf0IsTheFirstOfJanuary2001)
{
    const auto tree = decodeWorkspaces(fullTreeText);
    EXPECT_EQ(tree->at(0).threads[0].entries[1].createdAt.secondsSince1970(), 978307200.0);
}

TEST(WorkspaceCoderTest, InstantsAreReadExactly)
{
    const auto created = [](const std::string& digits) {
        std::string text = fullTreeText;
        return decodeWorkspaces(text.replace(text.find("785000000.123456"), 16, digits))
            ->at(0)
            .threads[0]
            .entries[0]
            .createdAt.secondsSince2001;
    };
    EXPECT_EQ(created("-0"), 0);
    EXPECT_EQ(created("0.1"), 0.1);
    EXPECT_EQ(created("123456789.12345679"), 123456789.12345679);
    EXPECT_EQ(created("8.41e21"), 8.41e21);
    EXPECT_EQ(created("9007199254740993"), 9007199254740992.0);
    EXPECT_EQ(created("18446744073709551615"), 18446744073709551616.0);
    EXPECT_EQ(created("1e-400"), 0);
}

class UndecodableTreeTest : public testing::TestWithParam<std::string_view>
{
};

TEST_P(UndecodableTreeTest, FailsAsAWhole)
{
    EXPECT_EQ(decodeWorkspaces(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Documents, UndecodableTreeTest,
    testing::Values("", " ", "null", "true", "1", "1.5", "\"a\"", "{}", "[", "[}", "[null]", "[1]", "[[]]", "[\"a\"]", "[{}]", "[true]",
        "[] []", "[],", "\xEF\xBB\xBF[]", "{\"id\":1}", "[{\"threads\":[{\"entries\":[{}]}]}]"));

// The tree's text with what stands at the object's key replaced, or removed.
class FieldRulesTest : public testing::Test
{
protected:
    enum class Record { workspace, thread, entry };

    [[nodiscard]] static std::string with(Record record, const std::string& key, const std::optional<Json>& value)
    {
        Json tree = parseJson(fullTreeText).value();
        JsonObject* object = &tree.as_array()[0].as_object();
        if (record != Record::workspace) {
            object = &object->at("threads").as_array()[0].as_object();
        }
        if (record == Record::entry) {
            object = &object->at("entries").as_array()[0].as_object();
        }
        EXPECT_TRUE(object->contains(key)) << key;
        if (value) {
            (*object)[key] = *value;
        } else {
            object->erase(key);
        }
        return compactJson(tree);
    }

    enum class Presence { required, optional };
    static void expectRules(Record record, const std::string& key, boost::json::kind kind, Presence presence)
    {
        const bool isOptional = presence == Presence::optional;
        EXPECT_EQ(decodeWorkspaces(with(record, key, std::nullopt)).has_value(), isOptional) << key << " is missing";
        EXPECT_EQ(decodeWorkspaces(with(record, key, Json(nullptr))).has_value(), isOptional) << key << " is null";
        EXPECT_EQ(decodeWorkspaces(with(record, key, std::nullopt)), decodeWorkspaces(with(record, key, Json(nullptr)))) << key;
        for (const Json& value : { Json(true), Json(1), Json(1.5), Json("text"), Json(JsonArray{}), Json(JsonObject{}) }) {
            const bool isNumber = value.is_number() && kind == boost::json::kind::double_;
            if (value.kind() != kind && !isNumber) {
                EXPECT_FALSE(decodeWorkspaces(with(record, key, value))) << key << " is " << compactJson(value);
            }
        }
    }
};

TEST_F(FieldRulesTest, OfAProject)
{
    using boost::json::kind;
    expectRules(Record::workspace, "id", kind::string, Presence::required);
    expectRules(Record::workspace, "name", kind::string, Presence::required);
    expectRules(Record::workspace, "path", kind::string, Presence::required);
    expectRules(Record::workspace, "threads", kind::array, Presence::required);
}

TEST_F(FieldRulesTest, OfATask)
{
    using boost::json::kind;
    expectRules(Record::thread, "id", kind::string, Presence::required);
    expectRules(Record::thread, "title", kind::string, Presence::required);
    expectRules(Record::thread, "sessionId", kind::string, Presence::optional);
    expectRules(Record::thread, "providerSessionIDs", kind::object, Presence::optional);
    expectRules(Record::thread, "lastProvider", kind::string, Presence::optional);
    expectRules(Record::thread, "entries", kind::array, Presence::required);
    expectRules(Record::thread, "createdAt", kind::double_, Presence::required);
    expectRules(Record::thread, "updatedAt", kind::double_, Presence::required);
}

TEST_F(FieldRulesTest, OfAnEntry)
{
    using boost::json::kind;
    expectRules(Record::entry, "id", kind::string, Presence::required);
    expectRules(Record::entry, "kind", kind::string, Presence::required);
    expectRules(Record::entry, "text", kind::string, Presence::required);
    expectRules(Record::entry, "title", kind::string, Presence::optional);
    expectRules(Record::entry, "status", kind::string, Presence::optional);
    expectRules(Record::entry, "provider", kind::string, Presence::optional);
    expectRules(Record::entry, "createdAt", kind::double_, Presence::required);
}

TEST_F(FieldRulesTest, ATextOutsideItsVocabularyFailsTheWholeTree)
{
    EXPECT_TRUE(decodeWorkspaces(with(Record::entry, "kind", Json("system"))));
    for (const char* kind : { "note", "Tool", "" }) {
        EXPECT_FALSE(decodeWorkspaces(with(Record::entry, "kind", Json(kind)))) << kind;
    }
    for (const char* provider : { "Grok", "openai", "" }) {
        EXPECT_FALSE(decodeWorkspaces(with(Record::entry, "provider", Json(provider)))) << provider;
        EXPECT_FALSE(decodeWorkspaces(with(Record::thread, "lastProvider", Json(provider)))) << provider;
    }
}

TEST_F(FieldRulesTest, AnIdThatIsNoUuidFailsTheWholeTreeExceptThatOfAnEntry)
{
    EXPECT_FALSE(decodeWorkspaces(with(Record::workspace, "id", Json("1"))));
    EXPECT_FALSE(decodeWorkspaces(with(Record::thread, "id", Json("11111111-2222-4333-8444-55555555AAA"))));
    EXPECT_TRUE(decodeWorkspaces(with(Record::entry, "id", Json("opaque"))));
}

TEST_F(FieldRulesTest, SessionsAreTextsUnderAnyKey)
{
    EXPECT_TRUE(decodeWorkspaces(with(Record::thread, "providerSessionIDs", parseJson(R"({"somebody":"x","":""})"))));
    for (const char* sessions : { R"({"grok":null})", R"({"grok":1})", R"({"grok":["a"]})", R"({"grok":{}})", R"({"grok":true})" }) {
        EXPECT_FALSE(decodeWorkspaces(with(Record::thread, "providerSessionIDs", parseJson(sessions)))) << sessions;
    }
}

TEST_F(FieldRulesTest, AnInstantThatNoDoubleHoldsFails)
{
    std::string text = fullTreeText;
    text.replace(text.find("785000000.123456"), 16, "1e400");
    EXPECT_FALSE(decodeWorkspaces(text));
}

TEST(WorkspaceCoderTest, EveryTruncationOfATreeFails)
{
    for (std::size_t size = 0; size < fullTreeText.size(); ++size) {
        ASSERT_FALSE(decodeWorkspaces(fullTreeText.substr(0, size))) << size;
    }
    EXPECT_FALSE(decodeWorkspaces(fullTreeText + "]"));
    EXPECT_FALSE(decodeWorkspaces(fullTreeText + '\0'));
}

TEST(WorkspaceCoderTest, LoneSurrogatesAndInvalidUtf8Fail)
{
    for (const char* bad : { R"(\ud800)", R"(\udc00x)", "\xFF", "\xED\xA0\x80" }) {
        std::string text = fullTreeText;
        EXPECT_FALSE(decodeWorkspaces(text.replace(text.find("New task"), 8, bad))) << bad;
    }
}

TEST(WorkspaceCoderTest, AnInstantThatIsNotFiniteCannotBeWritten)
{
    for (const double value : { std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN() }) {
        auto tree = fullTree();
        tree[0].threads[0].entries[1].createdAt = { value };
        EXPECT_EQ(encodeWorkspaces(tree), std::nullopt);
        tree = fullTree();
        tree[0].threads[0].createdAt = { value };
        EXPECT_EQ(encodeWorkspaces(tree), std::nullopt);
        tree = fullTree();
        tree[0].threads[0].updatedAt = { value };
        EXPECT_EQ(encodeWorkspaces(tree), std::nullopt);
    }
}

TEST(WorkspaceCoderTest, ATextThatIsNoUtf8NeverMakesTheTreeUnreadable)
{
    auto tree = fullTree();
    tree[0].threads[0].entries[0].text = "before\xFF\xC3 after";
    tree[0].threads[0].title = "\xE2\x82";
    const auto read = decodeWorkspaces(encodeWorkspaces(tree).value());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->at(0).threads[0].entries[0].text, "before\uFFFD\uFFFD after");
    EXPECT_EQ(read->at(0).threads[0].title, "\uFFFD\uFFFD");
}

} // namespace
} // namespace tessarin
