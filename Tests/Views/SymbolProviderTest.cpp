#include "QmlFixture.h"

#include <QDir>
#include <QImage>
#include <QPainter>

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

// Run on a screen of single and one of double density.
TEST(SymbolProvider, ASymbolIsAsSharpAsItsScreen)
{
    QmlFixture qml;
    qml.view().setColor(Qt::white);
    qml.show("SystemSymbol", { { "name", "checkmark.circle.fill" }, { "color", QColor(0x0d, 0x66, 0x78) } }, QSize(16, 16));
    const int pixels = qRound(16 * qml.view().effectiveDevicePixelRatio());
    const QImage shown = qml.view().grabWindow().convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(shown.size(), QSize(pixels, pixels));
    QImage wanted(shown.size(), QImage::Format_RGB32);
    wanted.fill(Qt::white);
    QPainter(&wanted).drawImage(0, 0, drawn("checkmark.circle.fill?0d6678", wanted.size()));
    for (int y = 0; y < pixels; ++y) {
        for (int x = 0; x < pixels; ++x) {
            EXPECT_NEAR(qGreen(shown.pixel(x, y)), qGreen(wanted.pixel(x, y)), 12) << x << ' ' << y;
        }
    }
}

TEST(SymbolProvider, EverySymbolOfTheWindowHasADrawing)
{
    for (const char* name :
        { "arrow.triangle.branch", "arrow.up", "arrow.up.forward.square", "brain.head.profile", "bubble.left", "checklist",
            "checkmark.circle.fill", "checkmark.shield", "checkmark.shield.fill", "chevron.left.forwardslash.chevron.right", "circle",
            "circle.dotted", "circle.fill", "doc.text", "exclamationmark.triangle.fill", "folder", "folder.badge.plus", "folder.fill",
            "key.slash", "magnifyingglass", "photo", "photo.on.rectangle.angled", "play.circle.fill", "plus", "sparkles",
            "square.and.pencil", "stop.fill", "terminal", "terminal.fill", "video", "wand.and.stars", "wrench.and.screwdriver", "xmark" }) {
        EXPECT_TRUE(QFile::exists(QStringLiteral(":/Tessarin/Symbols/%1.svg").arg(QLatin1String(name)))) << name;
    }
}

} // namespace

} // namespace tessarin
