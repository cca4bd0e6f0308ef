#include "Platform/Json.h"
#include "Platform/JsonText.h"

#include <gtest/gtest.h>

#include <limits>

namespace tessarin
{
namespace
{

std::string pretty(std::string_view text)
{
    return prettyJson(parseJson(text).value()).value();
}

TEST(PrettyJsonTest, SortsKeysAndIndentsByTwoBlanksALevel)
{
    EXPECT_EQ(pretty(R"({"path":"src","Big":1,"command":["ls","-l"],"a":{"z":null,"b":true}})"),
        "{\n"
        "  \"Big\" : 1,\n"
        "  \"a\" : {\n"
        "    \"b\" : true,\n"
        "    \"z\" : null\n"
        "  },\n"
        "  \"command\" : [\n"
        "    \"ls\",\n"
        "    \"-l\"\n"
        "  ],\n"
        "  \"path\" : \"src\"\n"
        "}");
}

TEST(PrettyJsonTest, KeepsTheOrderOfArrays)
{
    EXPECT_EQ(pretty("[3,1,[2]]"), "[\n  3,\n  1,\n  [\n    2\n  ]\n]");
}

TEST(PrettyJsonTest, EmptyContainersHaveABlankLine)
{
    EXPECT_EQ(pretty("{}"), "{\n\n}");
    EXPECT_EQ(pretty("[]"), "[\n\n]");
    EXPECT_EQ(pretty(R"({"a":{},"b":[[]]})"),
        "{\n"
        "  \"a\" : {\n"
        "\n"
        "  },\n"
        "  \"b\" : [\n"
        "    [\n"
        "\n"
        "    ]\n"
        "  ]\n"
        "}");
}

TEST(PrettyJsonTest, EscapesSlashesInKeysAndValues)
{
    EXPECT_EQ(pretty(R"({"a/b":"/usr/bin"})"), "{\n  \"a\\/b\" : \"\\/usr\\/bin\"\n}");
}

TEST(PrettyJsonTest, EscapesControlCharactersAndKeepsAllOthers)
{
    EXPECT_EQ(pretty(R"(["\"\\\b\f\n\r\t\u0000\u001f\u007f é 日本 😀 \u2028"])"),
        "[\n  \"\\\"\\\\\\b\\f\\n\\r\\t\\u0000\\u001f\x7F é 日本 😀 \u2028\"\n]");
}

TEST(PrettyJsonTest, WritesWholeNumbersAsTheyAreAndFractionsShort)
{
    EXPECT_EQ(pretty("[0,-12,18446744073709551615,1.5,0.1,-0.25,100000.0,1e20,1e-7,123456.789]"),
        "[\n  0,\n  -12,\n  18446744073709551615,\n  1.5,\n  0.1,\n  -0.25,\n  100000,\n  1e+20,\n  1e-07,\n  123456.789\n]");
}

TEST(PrettyJsonTest, OnlyAnArrayOrObjectCanBeTheRoot)
{
    for (const char* scalar : { "null", "true", "1", "1.5", "\"text\"" }) {
        EXPECT_EQ(prettyJson(parseJson(scalar).value()), std::nullopt) << scalar;
    }
}

TEST(PrettyJsonTest, ANumberThatIsNotFiniteHasNoText)
{
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(prettyJson(JsonArray{ 1, JsonObject{ { "a", JsonArray{ infinity } } } }), std::nullopt);
    EXPECT_EQ(prettyJson(JsonArray{ std::numeric_limits<double>::quiet_NaN() }), std::nullopt);
}

TEST(ValidJsonTest, FindsANumberThatIsNotFiniteAtAnyDepth)
{
    EXPECT_TRUE(isValidJson(parseJson(R"([1,2.5,{"a":[null,"b",true]}])").value()));
    EXPECT_FALSE(isValidJson(std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(isValidJson({ { "a", { 1, JsonArray{ -std::numeric_limits<double>::infinity() } } } }));
    EXPECT_FALSE(isValidJson(JsonArray{ JsonArray{ std::numeric_limits<double>::quiet_NaN() } }));
}

TEST(CompactJsonTest, WritesOneLineWithoutBlanksInTheOrderOfTheKeys)
{
    EXPECT_EQ(compactJson(parseJson(R"( { "b" : [ 1 , 2.5 , { } ] , "a" : "x/y\n" , "c" : null, "d" : [] } )").value()),
        R"({"b":[1,2.5,{}],"a":"x/y\n","c":null,"d":[]})");
    EXPECT_EQ(compactJson("text"), "\"text\"");
    EXPECT_EQ(compactJson(nullptr), "null");
}

TEST(CompactJsonTest, ReadsBackAsTheSameValue)
{
    const std::string text = R"({"a":[0.1,1e300,-5,18446744073709551615,"\u0000\ud83d\ude00\\\"/"],"":{"x":{"y":[[],[{}]]}},"t":true})";
    const Json value = parseJson(text).value();
    EXPECT_EQ(parseJson(compactJson(value)), value);
    EXPECT_EQ(parseJson(prettyJson(value).value()), value);
}

TEST(CompactJsonTest, AnyDepthIsWritten)
{
    constexpr int depth = 5000;
    Json value = JsonObject{};
    for (int level = 0; level < depth; ++level) {
        value = JsonArray{ std::move(value) };
    }
    EXPECT_TRUE(isValidJson(value));
    EXPECT_EQ(compactJson(value), std::string(depth, '[') + "{}" + std::string(depth, ']'));
    EXPECT_TRUE(prettyJson(value));
}

TEST(JsonTextTest, WhatIsNoUtf8BecomesReplacementCharacters)
{
    const auto written = [](std::string_view text) {
        std::string out;
        appendJsonText(out, text);
        return out;
    };
    EXPECT_EQ(written("a\xFFz"), "\"a\uFFFDz\"");
    EXPECT_EQ(written("\xE2\x82"), "\"\uFFFD\uFFFD\"");
    EXPECT_EQ(written("\xED\xA0\x80"), "\"\uFFFD\uFFFD\uFFFD\"");
    EXPECT_EQ(written("\xC0\xAF \xC3\xA9"), "\"\uFFFD\uFFFD é\"");
    EXPECT_EQ(written("\xF0\x9F\x98"), "\"\uFFFD\uFFFD\uFFFD\"");
    EXPECT_TRUE(parseJson(written("\x80\xFE\n\"")));
}

} // namespace
} // namespace tessarin
