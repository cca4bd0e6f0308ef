#include "Imagine/ImagineHistory.h"

#include "Platform/Json.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace tessarin
{
namespace
{

ImagineItem sampleItem()
{
    return { .id = *Uuid::parse("0C9A5B1E-7D42-4B7E-9B0D-0123456789AB"),
        .kind = ImagineKind::video,
        .prompt = "a \"quoted\"\nü/line",
        .localPath = "/library/B.mp4",
        .fileName = "B.mp4",
        .createdAt = { 785931000.25 } };
}

constexpr const char* sampleText
    = R"({"id":"0C9A5B1E-7D42-4B7E-9B0D-0123456789AB","kind":"video","prompt":"a \"quoted\"\nü/line","localPath":"/library/B.mp4",)"
      R"("fileName":"B.mp4","createdAt":785931000.25})";

// The sample with one key set anew, or, for none, taken out.
std::string changed(const char* key, const std::optional<Json>& value)
{
    JsonObject object = parseJson(sampleText)->as_object();
    object.erase(key);
    if (value) {
        object[key] = *value;
    }
    return compactJson(Json(JsonArray{ object }));
}

TEST(ImagineHistoryTest, ItemsAreWrittenWithTheirKeysInSecondsSince2001)
{
    EXPECT_EQ(encodeImagineHistory({ sampleItem() }), std::string("[") + sampleText + "]");
    EXPECT_EQ(encodeImagineHistory({ sampleItem(), sampleItem() }), std::string("[") + sampleText + "," + sampleText + "]");
    EXPECT_EQ(encodeImagineHistory({}), "[]");
}

TEST(ImagineHistoryTest, WhatIsWrittenReadsBackInItsOrder)
{
    const std::vector<ImagineItem> items{ sampleItem(), ImagineItem::make(ImagineKind::image, "", "/a.png", "a.png"),
        ImagineItem::make(ImagineKind::image, std::string("zero\0byte", 9), "/c.png", "c.png") };
    EXPECT_EQ(decodeImagineHistory(*encodeImagineHistory(items)), items);
}

TEST(ImagineHistoryTest, KeysThatWeDoNotKnowArePassedOver)
{
    EXPECT_EQ(decodeImagineHistory(changed("rating", Json(5))), std::vector{ sampleItem() });
}

TEST(ImagineHistoryTest, AnIdIsReadInAnyCaseAndSolidiMayBeEscaped)
{
    EXPECT_EQ(decodeImagineHistory(changed("id", Json("0c9a5b1e-7d42-4b7e-9b0d-0123456789ab"))), std::vector{ sampleItem() });
    std::string text = sampleText;
    text.replace(text.find("/library/B"), 10, "\\/library\\/B");
    EXPECT_EQ(decodeImagineHistory("[" + text + "]"), std::vector{ sampleItem() });
}

TEST(ImagineHistoryTest, AWholeNumberOfSecondsIsWrittenWithoutAPointByOthers)
{
    for (const std::int64_t seconds : { 785931000LL, 0LL, -1LL }) {
        ImagineItem item = sampleItem();
        item.createdAt = { static_cast<double>(seconds) };
        EXPECT_EQ(decodeImagineHistory(changed("createdAt", Json(seconds))), std::vector{ item }) << seconds;
    }
}

TEST(ImagineHistoryTest, AMissingKeyFailsTheWholeHistory)
{
    for (const char* key : { "id", "kind", "prompt", "localPath", "fileName", "createdAt" }) {
        EXPECT_EQ(decodeImagineHistory(changed(key, std::nullopt)), std::nullopt) << key;
        EXPECT_EQ(decodeImagineHistory(changed(key, Json(nullptr))), std::nullopt) << key;
        EXPECT_EQ(decodeImagineHistory(changed(key, Json(true))), std::nullopt) << key;
    }
}

TEST(ImagineHistoryTest, AnUnknownKindOrAnIdThatIsNoneFailsTheWholeHistory)
{
    EXPECT_EQ(decodeImagineHistory(changed("kind", Json("audio"))), std::nullopt);
    EXPECT_EQ(decodeImagineHistory(changed("kind", Json("Image"))), std::nullopt);
    EXPECT_EQ(decodeImagineHistory(changed("id", Json("B"))), std::nullopt);
    EXPECT_EQ(decodeImagineHistory(changed("createdAt", Json("2026"))), std::nullopt);
}

TEST(ImagineHistoryTest, WhatIsNoArrayOfObjectsIsNoHistory)
{
    for (const char* text : { "", "{}", "null", "[1]", "[[]]", "[null]", "[", "[] []", "\"[]\"", "\xFF" }) {
        EXPECT_EQ(decodeImagineHistory(text), std::nullopt) << text;
    }
    EXPECT_EQ(decodeImagineHistory(" [ ] "), std::vector<ImagineItem>{});
}

TEST(ImagineHistoryTest, AnInstantThatIsNotFiniteIsNotWritten)
{
    ImagineItem item = sampleItem();
    for (const double seconds : { std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN() }) {
        item.createdAt = { seconds };
        EXPECT_EQ(encodeImagineHistory({ sampleItem(), item }), std::nullopt);
    }
}

} // namespace
} // namespace tessarin
