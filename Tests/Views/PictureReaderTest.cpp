#include "Views/PictureReader.h"

#include "PictureFixture.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessarin
{

namespace
{

constexpr QSize card(360, 240);

class PictureReaderTest : public PictureTest
{
protected:
    QImage read(const QByteArray& bytes, const QString& name = "picture.png") const { return readPicture(written(name, bytes), card); }
    // Of the greatest channel at that point.
    static QString colourAt(const QImage& image, double x, double y)
    {
        const QColor colour = image.pixelColor(int(std::lround(x * (image.width() - 1))), int(std::lround(y * (image.height() - 1))));
        const int most = std::max({ colour.red(), colour.green(), colour.blue() });
        return most < 100 ? "dark" : most == colour.red() ? "red" : most == colour.green() ? "green" : "blue";
    }
    // A chunk of a PNG; nothing looks at its checksum before it is known to be of use.
    static QByteArray chunk(const QByteArray& type, const QByteArray& data)
    {
        QByteArray length(4, '\0');
        qToBigEndian(quint32(data.size()), length.data());
        return length + type + data + QByteArray(4, '\0');
    }
    static qint64 mostMemory()
    {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss * 1024;
    }
};

TEST_F(PictureReaderTest, EachKindOfPictureLoads)
{
    const QImage fields = threeFields({ 900, 600 });
    for (const char* format : { "png", "jpeg", "webp" }) {
        const QImage image = read(encoded(fields, format));
        EXPECT_EQ(image.size(), card) << format;
        EXPECT_EQ(colourAt(image, 0.1, 0.5), "red") << format;
        EXPECT_EQ(colourAt(image, 0.5, 0.5), "green") << format;
        EXPECT_EQ(colourAt(image, 0.9, 0.5), "blue") << format;
    }
    const QImage small = read(gif());
    EXPECT_FALSE(small.isNull());
    EXPECT_EQ(small.pixelColor(0, 0), QColor(Qt::red));
}

TEST_F(PictureReaderTest, WhatItHoldsCountsAndNotItsName)
{
    EXPECT_FALSE(read(encoded(threeFields({ 90, 60 }), "jpeg"), "picture.png").isNull());
    EXPECT_FALSE(read(encoded(threeFields({ 90, 60 }), "png"), "picture.webp").isNull());
    EXPECT_FALSE(read(gif(), "picture.jpg").isNull());
}

TEST_F(PictureReaderTest, APictureIsCutAroundItsMiddle)
{
    const QImage wide = read(encoded(threeFields({ 3000, 300 }), "png"));
    EXPECT_EQ(wide.size(), card);
    for (const double x : { 0.02, 0.5, 0.98 }) {
        EXPECT_EQ(colourAt(wide, x, 0.5), "green") << x;
    }
    const QImage tall = read(encoded(threeFields({ 300, 3000 }), "jpeg"));
    EXPECT_EQ(tall.width() * card.height(), tall.height() * card.width());
    EXPECT_EQ(colourAt(tall, 0.1, 0.5), "red");
    EXPECT_EQ(colourAt(tall, 0.9, 0.5), "blue");
}

TEST_F(PictureReaderTest, APictureThatWasTakenOnItsSideStandsUpright)
{
    const QImage image = read(encoded(threeFields({ 600, 900 }), "jpeg", QImageIOHandler::TransformationRotate90));
    EXPECT_EQ(image.size(), card);
    EXPECT_EQ(colourAt(image, 0.5, 0.1), "red") << "what was at the left is at the top";
    EXPECT_EQ(colourAt(image, 0.5, 0.9), "blue");
}

TEST_F(PictureReaderTest, ASmallPictureIsNotMadeLarger)
{
    EXPECT_EQ(read(encoded(threeFields({ 30, 20 }), "png")).size(), QSize(30, 20));
    EXPECT_EQ(read(encoded(threeFields({ 1, 1 }), "png")).size(), QSize(1, 1));
}

TEST_F(PictureReaderTest, AnEndlessStripTakesNoMoreThanACard)
{
    EXPECT_LE(read(encoded(threeFields({ 60000, 3 }), "png")).sizeInBytes(), 360 * 240 * 4);
    EXPECT_LE(read(encoded(threeFields({ 1, 60000 }), "png")).sizeInBytes(), 360 * 240 * 4);
}

TEST_F(PictureReaderTest, TransparencyStays)
{
    QImage clear(60, 40, QImage::Format_ARGB32);
    clear.fill(Qt::transparent);
    EXPECT_EQ(read(encoded(clear, "png")).pixelColor(30, 20).alpha(), 0);
}

TEST_F(PictureReaderTest, WhatIsNoPictureHasNone)
{
    const QByteArray svg = "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' width='9' height='9'>"
                           "<image xlink:href='file:///etc/passwd' width='9' height='9'/></svg>";
    const QByteArray bitmap = encoded(threeFields({ 30, 20 }), "bmp");
    for (const QByteArray& bytes : { QByteArray(), QByteArray("x"), QByteArray("pixels"), svg, bitmap, QByteArray("GIF89a"),
             QByteArray("\x89PNG\r\n\x1a\n"), QByteArray("\xff\xd8\xff"), QByteArray("RIFF\0\0\0\0WEBP", 12), QByteArray(100000, '\0') }) {
        EXPECT_TRUE(read(bytes).isNull()) << bytes.left(20).toStdString();
    }
}

TEST_F(PictureReaderTest, APictureThatEndsEarlyHasNone)
{
    const QImage fields = threeFields({ 300, 200 });
    for (const QByteArray& whole : { encoded(fields, "png"), encoded(fields, "jpeg"), encoded(fields, "webp"), gif() }) {
        for (qsizetype length = whole.size() - 2; length > 0; length -= whole.size() / 13 + 1) {
            EXPECT_TRUE(read(whole.left(length)).isNull()) << length << " of " << whole.size() << whole.left(4).toStdString();
        }
    }
}

TEST_F(PictureReaderTest, APictureWithDamageInItNeverHarms)
{
    const QImage fields = threeFields({ 120, 80 });
    for (const QByteArray& whole : { encoded(fields, "png"), encoded(fields, "jpeg"), encoded(fields, "webp"), gif() }) {
        for (qsizetype at = 0; at < whole.size(); at += whole.size() / 200 + 1) {
            for (const char other : { '\0', '\x7f', '\xff' }) {
                QByteArray damaged = whole;
                damaged[at] = other;
                EXPECT_LE(read(damaged).sizeInBytes(), 360 * 240 * 4);
            }
        }
    }
}

TEST_F(PictureReaderTest, OnlyARegularFileIsRead)
{
    const std::string pipe = path("pipe.png");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    ASSERT_EQ(symlink("/nowhere/at/all.png", path("dangling.png").c_str()), 0);
    ASSERT_EQ(symlink(path("picture.png").c_str(), path("link.png").c_str()), 0);
    ASSERT_EQ(symlink(path("loop.png").c_str(), path("loop.png").c_str()), 0);
    for (const std::string& other : { pipe, path("dangling.png"), path("loop.png"), path("gone.png"), folder.path().toStdString(),
             std::string("/dev/zero"), std::string(), std::string("relative.png"), std::string(10000, 'n') }) {
        EXPECT_TRUE(readPicture(other, card).isNull()) << other.substr(0, 100);
    }
    written("picture.png", encoded(threeFields({ 30, 20 }), "png"));
    EXPECT_FALSE(readPicture(path("link.png"), card).isNull());
}

TEST_F(PictureReaderTest, AHugePictureHasNoneAndTakesNoMemory)
{
    QImage blank(20000, 20000, QImage::Format_Mono);
    blank.fill(0);
    const QByteArray png = encoded(blank, "png");
    blank = {};
    QByteArray jpeg = encoded(threeFields({ 64, 64 }), "jpeg");
    const qsizetype frame = jpeg.indexOf("\xff\xc0");
    ASSERT_GT(frame, 0);
    jpeg.replace(frame + 5, 4, QByteArray("\x4e\x20\x4e\x20", 4)); // 20,000 by 20,000
    QByteArray moving = gif();
    moving.replace(6, 4, QByteArray("\xff\xff\xff\xff", 4));
    const qint64 before = mostMemory();
    for (const QByteArray& huge : { png, jpeg, moving }) {
        EXPECT_TRUE(read(huge).isNull()) << huge.left(4).toStdString();
    }
    EXPECT_LT(mostMemory() - before, 64 * 1024 * 1024);
}

TEST_F(PictureReaderTest, APictureOf8KIsShown)
{
    QImage large(7680, 4320, QImage::Format_RGB32);
    large.fill(Qt::darkCyan);
    EXPECT_EQ(read(encoded(large, "jpeg")).size(), card);
}

TEST_F(PictureReaderTest, TextsThatUnpackToGigabytesAreNotUnpacked)
{
    const QByteArray picture = encoded(threeFields({ 300, 200 }), "png");
    const QByteArray text = chunk("zTXt", QByteArray("Comment\0\0", 9) + qCompress(QByteArray(7000000, ' ')).mid(4));
    QByteArray bomb = picture.left(33); // up to the end of the head
    for (int i = 0; i < 1000; ++i) {
        bomb += text;
    }
    bomb += picture.mid(33);
    const qint64 before = mostMemory();
    EXPECT_FALSE(read(bomb).isNull()) << "the picture itself is sound";
    EXPECT_LT(mostMemory() - before, 200 * 1024 * 1024);
}

TEST_F(PictureReaderTest, AFileBeyondTheLimitIsNotRead)
{
    const std::string large = written("large.png", encoded(threeFields({ 30, 20 }), "png"));
    ASSERT_EQ(truncate(large.c_str(), off_t(PictureLimits::fileBytes + 1)), 0);
    EXPECT_TRUE(readPicture(large, card).isNull());
    ASSERT_EQ(truncate(large.c_str(), off_t(PictureLimits::fileBytes)), 0);
    EXPECT_FALSE(readPicture(large, card).isNull()) << "what follows the end of the picture does not matter";
}

TEST_F(PictureReaderTest, AScanForEveryLineIsTooManyForALargePicture)
{
    const QByteArray large = encoded(threeFields({ 4000, 4000 }), "jpeg");
    QByteArray scans;
    for (int i = 0; i < 40; ++i) {
        scans += QByteArray("\xff\xda\x00\x00", 4);
    }
    const QByteArray comment = QByteArray("\xff\xfe\x00\xa2", 4) + scans; // 160 bytes and the two of the length
    EXPECT_FALSE(read(large).isNull());
    EXPECT_TRUE(read(large.left(2) + comment + large.mid(2)).isNull());
    const QByteArray small = encoded(threeFields({ 400, 400 }), "jpeg");
    EXPECT_FALSE(read(small.left(2) + comment + small.mid(2)).isNull());
}

} // namespace

} // namespace tessarin
