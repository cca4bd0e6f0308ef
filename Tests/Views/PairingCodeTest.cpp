#include "Views/PairingCode.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

int moduleCount(const QImage& image)
{
    return image.width() / PairingCode::modulePixels;
}

bool isDark(const QImage& image, int x, int y)
{
    return image.pixelColor(x * PairingCode::modulePixels + 3, y * PairingCode::modulePixels + 3) == Qt::black;
}

} // namespace

TEST(PairingCodeTest, IsASquareOfEightPixelsAModule)
{
    const QImage image = PairingCode::image(QStringLiteral("tessarin"));
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.width(), image.height());
    EXPECT_EQ(image.width() % 8, 0);
    // Eight bytes fit the smallest code, of 21 modules.
    EXPECT_EQ(moduleCount(image), 21 + 2 * PairingCode::quietModules);
}

TEST(PairingCodeTest, IsBlackOnWhiteWithoutAnythingBetween)
{
    const QImage image = PairingCode::image(QStringLiteral("tessarin://pair?host=h&port=1&key=k&name=n"));
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            ASSERT_TRUE(colour == Qt::black || colour == Qt::white);
            ASSERT_EQ(colour == Qt::black, isDark(image, x / 8, y / 8));
        }
    }
}

TEST(PairingCodeTest, HasQuietSpaceAroundIt)
{
    const QImage image = PairingCode::image(QStringLiteral("tessarin"));
    for (int at = 0; at < moduleCount(image); ++at) {
        EXPECT_FALSE(isDark(image, at, 0) || isDark(image, 0, at));
        EXPECT_FALSE(isDark(image, at, moduleCount(image) - 1) || isDark(image, moduleCount(image) - 1, at));
    }
    EXPECT_TRUE(isDark(image, PairingCode::quietModules, PairingCode::quietModules));
}

// The two bits of the level stand below the upper left mark, masked by 10 (ISO/IEC 18004, 7.9): for M, 00, they read 1 0.
TEST(PairingCodeTest, HasCorrectionLevelM)
{
    const QImage image = PairingCode::image(QStringLiteral("tessarin"));
    const int row = PairingCode::quietModules + 8;
    EXPECT_TRUE(isDark(image, PairingCode::quietModules, row));
    EXPECT_FALSE(isDark(image, PairingCode::quietModules + 1, row));
}

// So many bytes of a link fit a code of 40 at this level, and no character more.
TEST(PairingCodeTest, CountsTheBytesOfUtf8)
{
    constexpr int most = 2331;
    EXPECT_FALSE(PairingCode::image(QString(most, QLatin1Char('a'))).isNull());
    EXPECT_TRUE(PairingCode::image(QString(most + 1, QLatin1Char('a'))).isNull());
    EXPECT_FALSE(PairingCode::image(QString(most / 2, QChar(0xe9))).isNull());
    EXPECT_TRUE(PairingCode::image(QString(most / 2 + 1, QChar(0xe9))).isNull());
}

TEST(PairingCodeTest, AnEmptyTextHasNone)
{
    EXPECT_TRUE(PairingCode::image(QString()).isNull());
}

} // namespace tessarin
