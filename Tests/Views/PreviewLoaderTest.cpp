#include "Views/PreviewLoader.h"

#include "PictureFixture.h"

#include <QTest>

#include <optional>
#include <vector>

namespace tessarin
{

namespace
{

constexpr QSize card(360, 240);

class PreviewLoaderTest : public PictureTest
{
protected:
    // Of a picture of one colour.
    QString file(const QString& name, QColor colour = Qt::red, QSize size = { 400, 300 }) const
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(colour);
        return QString::fromStdString(written(name, encoded(image, "png")));
    }
    void ask(const QString& path)
    {
        ticket = loader->request(path, card, [this](const QImage& picture) { delivered.push_back(picture); });
    }
    void await(std::size_t count)
    {
        ASSERT_TRUE(QTest::qWaitFor([&] { return delivered.size() >= count; }, 10000));
    }
    // Until all that was asked for has been looked at, and told.
    void settle()
    {
        loader->waitForReading();
        QCoreApplication::processEvents();
    }

    std::optional<PreviewLoader> loader{ std::in_place };
    PreviewLoader::Ticket ticket;
    std::vector<QImage> delivered;
};

TEST_F(PreviewLoaderTest, APictureComesLaterAndAtTheSizeOfACard)
{
    ask(file("a.png"));
    EXPECT_TRUE(delivered.empty()) << "the main thread does not wait for it";
    await(1);
    EXPECT_EQ(delivered[0].size(), card);
    EXPECT_EQ(loader->readCount(), 1);
}

TEST_F(PreviewLoaderTest, WhatIsKeptComesAtOnceAndIsNotReadAgain)
{
    const QString path = file("a.png");
    ask(path);
    await(1);
    ask(path);
    ASSERT_EQ(delivered.size(), 2U);
    EXPECT_FALSE(delivered[1].isNull());
    settle();
    EXPECT_EQ(delivered.size(), 2U);
    EXPECT_EQ(loader->readCount(), 1);
}

TEST_F(PreviewLoaderTest, AFileThatChangedIsReadAgain)
{
    const QString path = file("a.png", Qt::red);
    ask(path);
    await(1);
    file("a.png", Qt::blue, { 500, 400 });
    ask(path);
    await(3);
    EXPECT_EQ(delivered[1].pixelColor(9, 9), QColor(Qt::red)) << "what was kept";
    EXPECT_EQ(delivered[2].pixelColor(9, 9), QColor(Qt::blue));
}

TEST_F(PreviewLoaderTest, AFileThatIsGoneHasNoPicture)
{
    const QString path = file("a.png");
    ask(path);
    await(1);
    ASSERT_TRUE(QFile::remove(path));
    ask(path);
    await(3);
    EXPECT_TRUE(delivered[2].isNull());
    ask(path);
    EXPECT_TRUE(delivered[3].isNull());
}

TEST_F(PreviewLoaderTest, EachSizeIsAPictureOfItsOwn)
{
    const QString path = file("a.png", Qt::red, { 2000, 2000 });
    ask(path);
    await(1);
    ticket = loader->request(path, 2 * card, [this](const QImage& picture) { delivered.push_back(picture); });
    await(2);
    EXPECT_EQ(delivered[1].size(), 2 * card);
}

TEST_F(PreviewLoaderTest, WhoDropsTheTicketHearsNothing)
{
    ask(file("a.png"));
    ticket.reset();
    settle();
    EXPECT_TRUE(delivered.empty());
}

TEST_F(PreviewLoaderTest, WhatNobodyWaitsForIsNotRead)
{
    const QString path = file("a.png", Qt::red, { 3000, 3000 });
    for (int i = 0; i < 200; ++i) {
        const QString link = folder.filePath(QString::number(i));
        ASSERT_TRUE(QFile::link(path, link));
        ask(link); // and so drops the one before
    }
    settle();
    EXPECT_EQ(delivered.size(), 1U);
    EXPECT_LT(loader->readCount(), 50);
}

TEST_F(PreviewLoaderTest, WhatIsKeptStaysWithinTheLimit)
{
    constexpr qsizetype limit = qsizetype(10) * 360 * 240 * 4;
    loader.emplace(limit);
    for (int i = 0; i < 40; ++i) {
        ask(file(QString::number(i) + ".png"));
        await(std::size_t(i) + 1);
        EXPECT_LE(loader->keptBytes(), limit);
    }
    EXPECT_GT(loader->keptBytes(), limit / 2);
    ask(folder.filePath("39.png"));
    EXPECT_EQ(delivered.size(), 41U) << "the latest are kept";
    ask(folder.filePath("0.png"));
    EXPECT_EQ(delivered.size(), 41U) << "the first is not";
}

TEST_F(PreviewLoaderTest, FilesWithoutAPictureAreKeptWithinTheLimitToo)
{
    constexpr qsizetype limit = 100000;
    loader.emplace(limit);
    for (int i = 0; i < 1000; ++i) {
        ask(folder.filePath("gone-%1.png").arg(i));
        settle();
    }
    EXPECT_LE(loader->keptBytes(), limit);
}

TEST_F(PreviewLoaderTest, ALoaderMayGoWhileItReads)
{
    const QString path = file("a.png", Qt::red, { 3000, 3000 });
    std::vector<PreviewLoader::Ticket> tickets;
    for (int i = 0; i < 20; ++i) {
        const QString link = folder.filePath(QString::number(i));
        ASSERT_TRUE(QFile::link(path, link));
        tickets.push_back(loader->request(link, card, [this](const QImage& picture) { delivered.push_back(picture); }));
    }
    loader.reset();
    QCoreApplication::processEvents();
    EXPECT_TRUE(delivered.empty());
}

} // namespace

} // namespace tessarin
