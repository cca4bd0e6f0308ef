#include "Views/SymbolProvider.h"

#include <QDir>
#include <QImage>
#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

QImage drawn(const QString& id, const QSize& size)
{
    SymbolProvider provider;
    QSize told;
    const QImage image = provider.requestImage(id, &told, size);
    EXPECT_EQ(told, image.size());
    return image;
}

TEST(SymbolProvider, EverySymbolIsDrawnInTheColourThatIsAsked)
{
    const QStringList files = QDir(QStringLiteral(":/Tessarin/Symbols")).entryList();
    ASSERT_GT(files.size(), 20);
    for (const QString& file : files) {
        const QImage image = drawn(file.chopped(4) + "?0d6678", QSize(32, 32));
        int covered = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (qAlpha(image.pixel(x, y)) == 255) {
                    EXPECT_EQ(image.pixelColor(x, y), QColor(0x0d, 0x66, 0x78)) << file.toStdString();
                    ++covered;
                }
            }
        }
        EXPECT_GT(covered, 10) << file.toStdString();
    }
}

TEST(SymbolProvider, AnUnknownNameIsAnEmptyPicture)
{
    for (const char* id : { "", "nothing?ffffff", "../tessarin?ffffff", "folder" }) {
        EXPECT_EQ(drawn(id, QSize(8, 8)).size(), QSize(8, 8)) << id;
    }
    EXPECT_EQ(qAlpha(drawn("nothing?ffffff", QSize(8, 8)).pixel(4, 4)), 0);
}

} // namespace

} // namespace tessarin
