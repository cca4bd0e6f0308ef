#include "Services/JsonRpc.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tessarin
{

namespace
{

Json parsed(std::string_view text)
{
    return boost::json::parse(text);
}

TEST(JsonRpcTest, ARequestHasVersionIdMethodAndParams)
{
    EXPECT_EQ(Json(JsonRpc::request(3, "session/new", { { "cwd", "/p" } })),
        parsed(R"({"jsonrpc":"2.0","id":3,"method":"session/new","params":{"cwd":"/p"}})"));
    EXPECT_EQ(Json(JsonRpc::request(1, "x", {})), parsed(R"({"jsonrpc":"2.0","id":1,"method":"x","params":{}})"));
}

TEST(JsonRpcTest, ANotificationHasNoId)
{
    EXPECT_EQ(Json(JsonRpc::notification("session/cancel", { { "sessionId", "s" } })),
        parsed(R"({"jsonrpc":"2.0","method":"session/cancel","params":{"sessionId":"s"}})"));
    EXPECT_EQ(Json(JsonRpc::notification("initialized")), parsed(R"({"jsonrpc":"2.0","method":"initialized"})"));
}

TEST(JsonRpcTest, AnAnswerEchoesTheIdInItsType)
{
    EXPECT_EQ(Json(JsonRpc::response("7", {})), parsed(R"({"jsonrpc":"2.0","id":"7","result":{}})"));
    EXPECT_EQ(Json(JsonRpc::error("", "No")), parsed(R"({"jsonrpc":"2.0","id":"","error":{"code":-32603,"message":"No"}})"));
}

TEST(JsonRpcTest, AResponseHasIdAndResult)
{
    EXPECT_EQ(Json(JsonRpc::response(0, {})), parsed(R"({"jsonrpc":"2.0","id":0,"result":{}})"));
}

TEST(JsonRpcTest, AnErrorHasCodeAndMessage)
{
    EXPECT_EQ(Json(JsonRpc::error(-2, "Broken")), parsed(R"({"jsonrpc":"2.0","id":-2,"error":{"code":-32603,"message":"Broken"}})"));
    EXPECT_EQ(Json(JsonRpc::error(5, "No", JsonRpc::methodNotFound)),
        parsed(R"({"jsonrpc":"2.0","id":5,"error":{"code":-32601,"message":"No"}})"));
}

TEST(JsonRpcTest, ALineIsCompactAndEndsWithOneNewline)
{
    EXPECT_EQ(JsonRpc::line({ { "text", "a\nb" } }), "{\"text\":\"a\\nb\"}\n");
}

TEST(JsonRpcTest, AValueWithoutJsonTextHasNoLine)
{
    EXPECT_EQ(JsonRpc::line({ { "x", std::numeric_limits<double>::quiet_NaN() } }), std::nullopt);
    EXPECT_EQ(JsonRpc::line({ { "x", JsonArray{ JsonObject{ { "y", HUGE_VAL } } } } }), std::nullopt);
}

TEST(PendingRequestsTest, IdsStartAtOneAndAreNeverUsedAgain)
{
    PendingRequests requests;
    EXPECT_EQ(requests.add([](const JsonRpcReply&) {}), 1);
    EXPECT_EQ(requests.add([](const JsonRpcReply&) {}), 2);
    EXPECT_TRUE(requests.take(2));
    EXPECT_EQ(requests.add([](const JsonRpcReply&) {}), 3);
}

TEST(PendingRequestsTest, AHandlerIsTakenOnce)
{
    PendingRequests requests;
    int calls = 0;
    const auto id = requests.add([&](const JsonRpcReply&) { ++calls; });
    const auto handler = requests.take(id);
    ASSERT_TRUE(handler);
    (*handler)(JsonObject());
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(requests.take(id));
    EXPECT_FALSE(requests.take(99));
}

TEST(PendingRequestsTest, TakingAllEmptiesTheTableAndKeepsTheOrderOfIds)
{
    PendingRequests requests;
    std::string order;
    for (const char* name : { "a", "b", "c" })
        static_cast<void>(requests.add([&order, name](const JsonRpcReply&) { order += name; }));
    for (const auto& handler : requests.takeAll())
        handler(JsonObject());
    EXPECT_EQ(order, "abc");
    EXPECT_TRUE(requests.takeAll().empty());
}

} // namespace

} // namespace tessarin
