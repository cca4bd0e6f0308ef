#include "Platform/Json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

namespace tessarin
{
namespace
{

JsonObject object(std::string_view text)
{
    return parseJson(text).value().as_object();
}

std::string nested(std::size_t depth, char open, char close)
{
    std::string text;
    for (std::size_t level = 0; level < depth; ++level) {
        text += open == '{' ? "{\"a\":" : "[";
    }
    text += '0';
    return text + std::string(depth, close);
}

TEST(JsonTest, ParsesAnyKindOfValueAsADocument)
{
    EXPECT_EQ(parseJson("null"), Json(nullptr));
    EXPECT_EQ(parseJson(" true\r\n"), Json(true));
    EXPECT_EQ(parseJson("12"), Json(12));
    EXPECT_EQ(parseJson("1.5"), Json(1.5));
    EXPECT_EQ(parseJson("-1.5e2"), Json(-150.0));
    EXPECT_EQ(parseJson("\"a\""), Json("a"));
    EXPECT_EQ(parseJson("\t[1, {\"a\" : [ ]}] "), Json({ 1, JsonObject{ { "a", JsonArray() } } }));
}

class JsonRefusalTest : public testing::TestWithParam<std::string_view>
{
};

TEST_P(JsonRefusalTest, RefusesWhatIsNotOneWholeDocument)
{
    EXPECT_FALSE(parseJson(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Syntax, JsonRefusalTest,
    testing::Values("", " ", "{", "[1,]", "[1 2]", "{\"a\":1,}", "{a:1}", "{\"a\"}", "[1] x", "[1][2]", "1 2", "tru", "'a'", "\"a",
        "// c\n1", "/* c */ 1", "\xEF\xBB\xBF{}", "01", "+1", ".5", "1.", "1e", "-", "0x10"));
INSTANTIATE_TEST_SUITE_P(NumbersThatNoDoubleHolds, JsonRefusalTest,
    testing::Values("NaN", "nan", "Infinity", "-Infinity", "[1e400]", "[-1e400]", "1e309", "[1e99999999999]", "1.8e308"));
INSTANTIATE_TEST_SUITE_P(LoneSurrogates, JsonRefusalTest,
    testing::Values(R"("\ud800")", R"("\udc00")", R"("\ud800x")", R"("\ud800\u0041")", R"({"\udfff":1})", R"("\ud8")"));
INSTANTIATE_TEST_SUITE_P(InvalidUtf8, JsonRefusalTest,
    testing::Values("\"\xFF\"", "\"\xC0\xAF\"", "\"\xED\xA0\x80\"", "\"\xE2\x82\"", "\"\xF5\x80\x80\x80\"", "{\"\x80\":1}"));
INSTANTIATE_TEST_SUITE_P(RawControlCharacters, JsonRefusalTest, testing::Values("\"a\nb\"", "\"a\tb\"", std::string_view("\"a\0b\"", 5)));

TEST(JsonTest, JoinsSurrogatePairs)
{
    EXPECT_EQ(parseJson(R"("\ud83d\ude00")"), Json("\U0001F600"));
}

TEST(JsonTest, NestsAsDeepAsTheLimitAndNoDeeper)
{
    EXPECT_TRUE(parseJson(nested(maximumJsonDepth, '[', ']')));
    EXPECT_FALSE(parseJson(nested(maximumJsonDepth + 1, '[', ']')));
    EXPECT_TRUE(parseJson(nested(maximumJsonDepth, '{', '}')));
    EXPECT_FALSE(parseJson(nested(maximumJsonDepth + 1, '{', '}')));
    EXPECT_FALSE(parseJson(std::string(3'000'000, '[')));
}

TEST(JsonTest, TheLastOfSeveralValuesOfAKeyWins)
{
    EXPECT_EQ(object(R"({"a":1,"b":2,"a":3})"), (JsonObject{ { "a", 3 }, { "b", 2 } }));
}

TEST(JsonTest, ReadsFractionsExactly)
{
    for (const char* digits : { "0.1", "785000000.123456", "123456789.12345679", "9007199254740993.0", "2.2250738585072011e-308", "1e23",
             "8.41e21", "5e-324", "1.7976931348623157e308", "0.000000000000000000000000000123456789012345678901234567890" }) {
        EXPECT_EQ(parseJson(digits).value().as_double(), std::strtod(digits, nullptr)) << digits;
        EXPECT_EQ(numberAt(object("{\"a\":" + std::string(digits) + "}"), "a"), std::strtod(digits, nullptr)) << digits;
    }
    std::mt19937_64 random(1);
    for (int round = 0; round < 20'000; ++round) {
        double value = 0;
        const std::uint64_t bits = random();
        static_assert(sizeof bits == sizeof value);
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value)) {
            ASSERT_EQ(parseJson(compactJson(value)), parseJson(compactJson(parseJson(compactJson(value)).value())));
            ASSERT_EQ(parseJson("[" + compactJson(value) + "]").value().as_array()[0].to_number<double>(), value);
        }
    }
}

TEST(JsonTest, ANumberTooSmallForADoubleIsZero)
{
    EXPECT_EQ(parseJson("1e-400"), Json(0.0));
    EXPECT_EQ(parseJson("[-1e-400]").value().as_array()[0].as_double(), 0.0);
}

TEST(JsonTest, HugeWholeNumbersBecomeUnsignedAndThenFractions)
{
    EXPECT_EQ(parseJson("9223372036854775807"), Json(INT64_MAX));
    EXPECT_EQ(parseJson("-9223372036854775808"), Json(INT64_MIN));
    EXPECT_EQ(parseJson("18446744073709551615"), Json(UINT64_MAX));
    EXPECT_EQ(parseJson("18446744073709551616"), Json(18446744073709551616.0));
    EXPECT_EQ(parseJson(std::string(300, '9')), Json(1e300));
}

TEST(JsonTest, ParsesALineOf100Megabytes)
{
    constexpr std::size_t size = 100'000'000;
    const auto value = parseJson("{\"text\":\"" + std::string(size, 'x') + "\\n\"}");
    ASSERT_TRUE(value);
    EXPECT_EQ(textAt(value->get_object(), "text")->size(), size + 1);
}

TEST(JsonTest, PutsTheValueIntoTheStorageThatIsGiven)
{
    boost::json::monotonic_resource resource;
    const auto value = parseJson(R"({"a":["b"]})", &resource);
    ASSERT_TRUE(value);
    EXPECT_EQ(value->storage().get(), &resource);
    EXPECT_EQ(value->at("a").storage().get(), &resource);
}

TEST(JsonReaderTest, AMissingKeyAndAnotherTypeAreAbsent)
{
    const JsonObject values = object(R"({"text":"t","object":{},"array":[],"boolean":true,"number":1,"null":null})");
    EXPECT_EQ(textAt(values, "text"), "t");
    EXPECT_NE(objectAt(values, "object"), nullptr);
    EXPECT_NE(arrayAt(values, "array"), nullptr);
    EXPECT_EQ(booleanAt(values, "boolean"), true);
    EXPECT_EQ(numberAt(values, "number"), 1.0);
    for (const char* key : { "object", "array", "boolean", "number", "null", "none", "" }) {
        EXPECT_EQ(textAt(values, key), std::nullopt) << key;
    }
    for (const char* key : { "text", "array", "boolean", "number", "null", "none" }) {
        EXPECT_EQ(objectAt(values, key), nullptr) << key;
    }
    for (const char* key : { "text", "object", "boolean", "number", "null", "none" }) {
        EXPECT_EQ(arrayAt(values, key), nullptr) << key;
    }
    for (const char* key : { "text", "object", "array", "number", "null", "none" }) {
        EXPECT_EQ(booleanAt(values, key), std::nullopt) << key;
    }
    for (const char* key : { "text", "object", "array", "boolean", "null", "none" }) {
        EXPECT_EQ(numberAt(values, key), std::nullopt) << key;
    }
    for (const char* key : { "text", "object", "array", "null", "none" }) {
        EXPECT_EQ(integerAt(values, key), std::nullopt) << key;
    }
}

TEST(JsonReaderTest, ATextMayHoldZeroCharacters)
{
    EXPECT_EQ(textAt(object(R"({"a":"x\u0000y"})"), "a"), std::string_view("x\0y", 3));
}

TEST(JsonReaderTest, NumbersAreWholeOrFractions)
{
    const JsonObject values = object(R"({"a":-3,"b":18446744073709551615,"c":0.25})");
    EXPECT_EQ(numberAt(values, "a"), -3.0);
    EXPECT_EQ(numberAt(values, "b"), 18446744073709551615.0);
    EXPECT_EQ(numberAt(values, "c"), 0.25);
}

struct IntegerRow {
    std::string_view text;
    std::optional<std::int64_t> expected;
};

class IntegerReaderTest : public testing::TestWithParam<IntegerRow>
{
};

TEST_P(IntegerReaderTest, BooleansCountAndFractionsAreTruncated)
{
    EXPECT_EQ(integerAt(object("{\"a\":" + std::string(GetParam().text) + "}"), "a"), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Values, IntegerReaderTest,
    testing::Values(IntegerRow{ "0", 0 }, IntegerRow{ "-7", -7 }, IntegerRow{ "true", 1 }, IntegerRow{ "false", 0 }, IntegerRow{ "2.9", 2 },
        IntegerRow{ "-2.9", -2 }, IntegerRow{ "1e3", 1000 }, IntegerRow{ "9223372036854775807", INT64_MAX },
        IntegerRow{ "-9223372036854775808", INT64_MIN }, IntegerRow{ "9223372036854775808", std::nullopt },
        IntegerRow{ "1e19", std::nullopt }, IntegerRow{ "-1e19", std::nullopt }, IntegerRow{ "-9223372036854775808.0", INT64_MIN },
        IntegerRow{ "9223372036854775808.0", std::nullopt }));

TEST(JsonReaderTest, ANumberThatIsNotFiniteIsNoInteger)
{
    EXPECT_EQ(integerAt({ { "a", std::numeric_limits<double>::quiet_NaN() } }, "a"), std::nullopt);
    EXPECT_EQ(integerAt({ { "a", std::numeric_limits<double>::infinity() } }, "a"), std::nullopt);
}

TEST(JsonReaderTest, AnUnsignedNumberThatFitsIsAnInteger)
{
    EXPECT_EQ(integerAt({ { "a", std::uint64_t{ 5 } } }, "a"), 5);
}

} // namespace
} // namespace tessarin
