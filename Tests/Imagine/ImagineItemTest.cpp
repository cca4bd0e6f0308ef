#include "Imagine/ImagineItem.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

TEST(ImagineItemTest, KindsHaveTheirRawTextsInOrder)
{
    EXPECT_EQ(allImagineKinds, (std::array{ ImagineKind::image, ImagineKind::video }));
    EXPECT_EQ(rawText(ImagineKind::image), "image");
    EXPECT_EQ(rawText(ImagineKind::video), "video");
    EXPECT_EQ(imagineKindFromRawText("image"), ImagineKind::image);
    EXPECT_EQ(imagineKindFromRawText("video"), ImagineKind::video);
}

TEST(ImagineItemTest, OtherTextsAreNoKind)
{
    for (const char* text : { "", "Image", "images", " video", "audio" }) {
        EXPECT_EQ(imagineKindFromRawText(text), std::nullopt) << text;
    }
}

TEST(ImagineItemTest, ANewItemHasAnIdAndAMomentOfItsOwn)
{
    const Instant before = Instant::now();
    const auto first = ImagineItem::make(ImagineKind::video, "waves", "/library/A.mp4", "A.mp4");
    const auto second = ImagineItem::make(ImagineKind::video, "waves", "/library/A.mp4", "A.mp4");
    EXPECT_EQ(first.kind, ImagineKind::video);
    EXPECT_EQ(first.prompt, "waves");
    EXPECT_EQ(first.localPath, "/library/A.mp4");
    EXPECT_EQ(first.fileName, "A.mp4");
    EXPECT_NE(first.id, second.id);
    EXPECT_NE(first, second);
    EXPECT_GE(first.createdAt, before);
    EXPECT_LE(second.createdAt, Instant::now());
}

} // namespace
} // namespace tessarin
