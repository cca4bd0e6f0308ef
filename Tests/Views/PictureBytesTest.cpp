#include "Imagine/PictureBytes.h"

#include "PictureFixture.h"

#include <QColorSpace>

#include <optional>
#include <utility>
#include <vector>

namespace tessarin
{

namespace
{

using PictureBytes::Format;
using PictureBytesTest = PictureTest;

std::string text(const QByteArray& bytes)
{
    return bytes.toStdString();
}

std::optional<std::string> essentials(Format format, const QByteArray& bytes)
{
    return PictureBytes::essentials(format, bytes.toStdString());
}

TEST_F(PictureBytesTest, AFormatIsKnownByItsSignature)
{
    const QImage image = threeFields({ 9, 6 });
    EXPECT_EQ(PictureBytes::format(text(encoded(image, "png"))), Format::png);
    EXPECT_EQ(PictureBytes::format(text(encoded(image, "jpeg"))), Format::jpeg);
    EXPECT_EQ(PictureBytes::format(text(encoded(image, "webp"))), Format::webp);
    EXPECT_EQ(PictureBytes::format(text(gif())), Format::gif);
    EXPECT_EQ(PictureBytes::format("GIF87a"), Format::gif);
    for (const char* other : { "", "G", "GIF88a", "\x89PN", "RIFF....WAVE", "RIFF", "<svg/>", "BM", "\xff\xd8" }) {
        EXPECT_EQ(PictureBytes::format(other), std::nullopt) << other;
    }
}

TEST_F(PictureBytesTest, AWholePictureIsKept)
{
    const QImage image = threeFields({ 9, 6 });
    EXPECT_EQ(essentials(Format::jpeg, encoded(image, "jpeg")), text(encoded(image, "jpeg")));
    EXPECT_EQ(essentials(Format::webp, encoded(image, "webp")), text(encoded(image, "webp")));
    EXPECT_EQ(essentials(Format::gif, gif()), text(gif()));
}

TEST_F(PictureBytesTest, APictureWithoutAnEndIsNone)
{
    const QImage image = threeFields({ 90, 60 });
    const std::vector<std::pair<Format, QByteArray>> pictures{ { Format::png, encoded(image, "png") },
        { Format::jpeg, encoded(image, "jpeg") }, { Format::webp, encoded(image, "webp") }, { Format::gif, gif() } };
    for (const auto& [format, whole] : pictures) {
        const qsizetype signature = format == Format::gif ? 6 : 12;
        for (qsizetype length = signature; length < whole.size() - 1; ++length) {
            EXPECT_EQ(essentials(format, whole.left(length)), std::nullopt) << length << " of " << whole.size();
        }
    }
}

TEST_F(PictureBytesTest, ThePreviewInACameraPictureIsNotItsEnd)
{
    const QByteArray jpeg = encoded(threeFields({ 90, 60 }), "jpeg");
    const QByteArray camera = jpeg.left(2) + QByteArray("\xff\xe1\x00\x0a\xff\xda\x01\x02\xff\xd9\x03\x04", 12) + jpeg.mid(2);
    EXPECT_TRUE(essentials(Format::jpeg, camera));
    EXPECT_FALSE(essentials(Format::jpeg, camera.chopped(2)));
}

TEST_F(PictureBytesTest, APngLosesItsTextsAndProfiles)
{
    QImage image = threeFields({ 9, 6 });
    image.setText("Comment", "A comment that nobody reads");
    image.setColorSpace(QColorSpace::SRgb);
    const QByteArray png = encoded(image, "png");
    ASSERT_TRUE(png.contains("A comment"));
    const auto kept = essentials(Format::png, png);
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->find("A comment"), std::string::npos);
    EXPECT_LT(kept->size(), std::size_t(png.size()));
    EXPECT_EQ(QImage::fromData(QByteArray::fromStdString(*kept)).convertToFormat(QImage::Format_RGB32), threeFields({ 9, 6 }));
}

TEST_F(PictureBytesTest, ThePaletteKeepsItsTransparency)
{
    QImage image(2, 1, QImage::Format_Indexed8);
    image.setColorTable({ qRgba(255, 0, 0, 0), qRgba(0, 0, 255, 255) });
    image.setPixel(0, 0, 0);
    image.setPixel(1, 0, 1);
    const auto kept = essentials(Format::png, encoded(image, "png"));
    ASSERT_TRUE(kept);
    EXPECT_EQ(QImage::fromData(QByteArray::fromStdString(*kept)).pixelColor(0, 0).alpha(), 0);
}

TEST_F(PictureBytesTest, AMovingGifIsItsFirstPicture)
{
    const QByteArray still = gif();
    const QByteArray head = still.left(19);
    const QByteArray control("!\xf9\x04\x00\x0a\x00\x00\x00", 8);
    const QByteArray picture = still.mid(19).chopped(1);
    EXPECT_EQ(essentials(Format::gif, head + control + picture + control + picture + ";"), text(head + control + picture + ";"));
    EXPECT_EQ(essentials(Format::gif, head + ";"), std::nullopt) << "no picture at all";
    EXPECT_EQ(essentials(Format::gif, head + "?"), std::nullopt);
}

TEST_F(PictureBytesTest, ThePassesOfAJpegAreItsScans)
{
    const QByteArray jpeg = encoded(threeFields({ 90, 60 }), "jpeg");
    EXPECT_EQ(PictureBytes::passes(Format::jpeg, text(jpeg)), 1U);
    EXPECT_EQ(PictureBytes::passes(Format::jpeg, text(jpeg + QByteArray("\xff\xda..\xff\xda"))), 3U);
    EXPECT_EQ(PictureBytes::passes(Format::png, text(jpeg)), 1U);
}

} // namespace

} // namespace tessarin
