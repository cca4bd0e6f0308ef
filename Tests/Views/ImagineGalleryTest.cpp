#include "ImagineViewFixture.h"
#include "Views/PreviewItem.h"

#include <set>

namespace tessarin
{

namespace
{

using ::testing::ElementsAre;

class ImagineGalleryTest : public ImagineViewTest
{
protected:
    QQuickItem* grid() const { return item("QQuickGridView"); }
    QStringList shownPrompts() const
    {
        QStringList out;
        for (const QQuickItem* found : cards()) {
            out.append(found->property("prompt").toString());
        }
        return out;
    }
    static const PreviewItem* previewOf(const QQuickItem* card)
    {
        const QList<PreviewItem*> found = card->findChildren<PreviewItem*>();
        return found.isEmpty() ? nullptr : found[0];
    }
    static bool hasPicture(const QQuickItem* card) { return previewOf(card)->hasPicture(); }
    // Whether the gradient with the play mark is seen.
    static bool hasMark(const QQuickItem* card)
    {
        for (const QQuickItem* symbol : QmlFixture::items(card, "SystemSymbol")) {
            if (symbol->property("name").toString() == "play.circle.fill") {
                return symbol->isVisible();
            }
        }
        return false;
    }
    void settle()
    {
        ASSERT_TRUE(QmlFixture::becomes([&] {
            const QList<QQuickItem*> all = cards();
            return std::none_of(all.begin(), all.end(), [](const QQuickItem* card) { return previewOf(card)->isPending(); });
        }));
    }
    // Cards beyond the sight are made between frames: one that is being made is there already, but has no width yet.
    bool areComplete() const
    {
        const QList<QQuickItem*> all = cards();
        return std::none_of(all.begin(), all.end(), [](const QQuickItem* card) { return card->width() == 0; });
    }
    void scrollTo(double y)
    {
        grid()->setProperty("contentY", y);
        QCoreApplication::processEvents();
    }
    QStringList menuEntries()
    {
        QStringList out;
        for (const QQuickItem* entry : QmlFixture::items(qml.view().contentItem(), "AppMenuItem")) {
            if (entry->isVisible()) {
                out.append(entry->property("text").toString());
            }
        }
        return out;
    }
    bool awaitMenu()
    {
        return QmlFixture::becomes([this] { return menuEntries().size() == 2; });
    }
    // The window gives the focus back to where it was.
    bool awaitNoMenu()
    {
        const bool isGone = QmlFixture::becomes([this] { return menuEntries().isEmpty(); });
        root->forceActiveFocus(Qt::PopupFocusReason);
        return isGone;
    }
    std::vector<std::string> stillThere() const
    {
        std::vector<std::string> out;
        for (const ImagineItem& one : model->imagineItems()) {
            out.push_back(one.prompt);
        }
        return out;
    }
};

TEST_F(ImagineGalleryTest, TheCardsStandInTheOrderOfTheLibrary)
{
    keep({ creation("New"), creation("Older"), creation("Oldest") });
    show();
    EXPECT_EQ(shownPrompts(), (QStringList{ "New", "Older", "Oldest" }));
    EXPECT_LT(cards()[0]->mapToScene({}).x(), cards()[1]->mapToScene({}).x());
    EXPECT_EQ(cards()[0]->mapToScene({}).y(), cards()[1]->mapToScene({}).y());
}

TEST_F(ImagineGalleryTest, ColumnsFillTheWidthBetweenTheirBounds)
{
    keepMany(40);
    show();
    for (const int width : { 640, 700, 720, 760, 920, 1000, 1180, 1440, 1700, 2300, 2560 }) {
        qml.view().resize(width, 900);
        ASSERT_TRUE(QmlFixture::becomes([&] { return int(root->width()) == width && areComplete(); }));
        std::set<int> columns;
        for (const QQuickItem* card : cards()) {
            EXPECT_GE(card->width(), 230) << width;
            EXPECT_LE(card->width(), 360) << width;
            columns.insert(int(card->mapToScene({}).x()));
        }
        const int available = width - 2 * 18;
        EXPECT_EQ(int(columns.size()), (available + 14) / (230 + 14)) << width;
        const QQuickItem* first = cards()[0];
        const QQuickItem* second = cards()[1];
        EXPECT_EQ(second->mapToScene({}).x() - first->mapToScene({}).x(), first->width() + 14) << width;
        EXPECT_EQ(first->mapToScene({}).x(), 18);
        EXPECT_LE(*columns.rbegin() + int(first->width()), width - 18);
        EXPECT_GT(*columns.rbegin() + int(first->width()), width - 18 - int(columns.size()));
    }
}

TEST_F(ImagineGalleryTest, RowsStandFourteenApart)
{
    keepMany(12);
    show();
    EXPECT_EQ(cards()[3]->mapToScene({}).y() - cards()[0]->mapToScene({}).y(), cards()[0]->height() + 14);
}

TEST_F(ImagineGalleryTest, OnlyTheCardsInSightExistInALibraryOfThousands)
{
    keepMany(5000);
    show();
    ASSERT_EQ(window.imagine()->items()->count(), 5000);
    settle();
    EXPECT_LT(cards().size(), 30);
    for (int step = 1; step <= 200; ++step) {
        scrollTo(step * 2500.0);
        EXPECT_LT(cards().size(), 30) << step;
    }
    scrollTo(1e9);
    QMetaObject::invokeMethod(grid(), "positionViewAtEnd");
    EXPECT_NE(card("Creation 4999"), nullptr);
    EXPECT_LT(cards().size(), 30);
    settle();
    EXPECT_LT(window.imagine()->previews()->readCount(), 30) << "it is the same file, and it is kept";
}

TEST_F(ImagineGalleryTest, WhatIsKeptOfManyPicturesIsBounded)
{
    std::vector<ImagineItem> items;
    items.reserve(200);
    for (int i = 0; i < 200; ++i) {
        items.push_back(creation("Creation " + std::to_string(i), picture(QColor::fromHsv(i % 360, 255, 255), { 900, 600 })));
    }
    keep(items);
    show();
    for (int y = 0; y < 20000; y += 600) {
        scrollTo(y);
        settle();
        EXPECT_LE(window.imagine()->previews()->keptBytes(), PreviewLoader::defaultByteLimit);
    }
    EXPECT_LE(window.imagine()->previews()->readCount(), 2 * 200);
}

TEST_F(ImagineGalleryTest, AnImageShowsItsPictureAndEverythingElseThePlayMark)
{
    const QByteArray whole = picture();
    keep({ creation("Sound"), creation("Film", whole, 0, ImagineKind::video, "mp4"), creation("Text", "no picture"),
        creation("Cut", whole.left(whole.size() / 2)) });
    show();
    settle();
    EXPECT_TRUE(hasPicture(card("Sound")));
    EXPECT_FALSE(hasMark(card("Sound")));
    for (const char* other : { "Film", "Text", "Cut" }) {
        EXPECT_FALSE(hasPicture(card(other))) << other;
        EXPECT_TRUE(hasMark(card(other))) << other;
    }
}

TEST_F(ImagineGalleryTest, ThePictureFillsThePreviewAndIsCutAroundItsMiddle)
{
    QImage fields(900, 100, QImage::Format_RGB32);
    fields.fill(Qt::red);
    for (int x = 300; x < 600; ++x) {
        for (int y = 0; y < 100; ++y) {
            fields.setPixelColor(x, y, Qt::green);
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    ASSERT_TRUE(fields.save(&buffer, "png"));
    keep({ creation("Wide", bytes) });
    show();
    settle();
    const QRect place = previewOf(card("Wide"))->mapRectToScene(previewOf(card("Wide"))->boundingRect()).toRect();
    EXPECT_EQ(place.height(), qRound(place.width() / 1.5));
    const QImage seen = qml.view().grabWindow();
    for (const QPoint& point : { place.center(), QPoint(place.left() + 4, place.center().y()), QPoint(place.right() - 4, place.top() + 40),
             QPoint(place.center().x(), place.bottom() - 3) }) {
        EXPECT_EQ(seen.pixelColor(point), QColor(Qt::green)) << point.x() << " " << point.y();
    }
}

TEST_F(ImagineGalleryTest, ACardTellsPromptAgeAndKind)
{
    keep({ creation("A harbour at dawn", picture(), 4 * 60), creation("A flight", "film", 90 * 60, ImagineKind::video, "mp4") });
    show();
    const QQuickItem* image = card("A harbour at dawn");
    QStringList shown;
    for (const QQuickItem* text : QmlFixture::items(image, "Line")) {
        shown.append(text->property("text").toString());
    }
    EXPECT_EQ(shown, (QStringList{ "4 minutes ago", "Image" }));
    EXPECT_EQ(QmlFixture::items(image, "Prose").value(0)->property("text").toString(), "A harbour at dawn");
    EXPECT_EQ(QmlFixture::items(image, "Prose").value(0)->property("maximumLineCount").toInt(), 2);
    const auto symbols = [](const QQuickItem* of) {
        QStringList out;
        for (const QQuickItem* symbol : QmlFixture::items(of, "SystemSymbol")) {
            if (symbol->isVisible()) {
                out.append(symbol->property("name").toString());
            }
        }
        return out;
    };
    settle();
    EXPECT_EQ(symbols(image), (QStringList{ "photo", "arrow.up.forward.square" }));
    EXPECT_EQ(symbols(card("A flight")), (QStringList{ "play.circle.fill", "video", "arrow.up.forward.square" }));
}

TEST_F(ImagineGalleryTest, TheAgeStaysTrueWithoutAnythingThatRuns)
{
    keep({ creation("A harbour", picture(), 60) });
    show();
    EXPECT_EQ(card("A harbour")->property("created").toString(), "1 minute ago");
    clock.secondsSince2001 += 120;
    window.imagine()->refreshTimes();
    EXPECT_EQ(card("A harbour")->property("created").toString(), "3 minutes ago");
}

TEST_F(ImagineGalleryTest, ALongPromptKeepsToTwoLines)
{
    std::string book;
    for (int i = 0; i < 100000; ++i) {
        book += "word\n";
    }
    keep({ creation(book), creation("Short") });
    show();
    const QQuickItem* text = QmlFixture::items(cards()[0], "Prose").value(0);
    EXPECT_LE(text->property("lineCount").toInt(), 2);
    EXPECT_TRUE(text->property("truncated").toBool());
    EXPECT_EQ(cards()[0]->height(), cards()[1]->height());
}

TEST_F(ImagineGalleryTest, APressOnThePreviewOpensTheCreation)
{
    keep({ creation("A harbour"), creation("A flight", "film", 0, ImagineKind::video, "mp4") });
    show();
    clickMiddle(QmlFixture::items(card("A harbour"), "CardPreview").value(0));
    clickMiddle(QmlFixture::items(card("A flight"), "CardPreview").value(0));
    EXPECT_THAT(desktop.opened, ElementsAre(model->imagineItems()[0].localPath, model->imagineItems()[1].localPath));
}

TEST_F(ImagineGalleryTest, ADoubleClickOpensTheCreationOnce)
{
    keep({ creation("A harbour") });
    show();
    const QQuickItem* preview = QmlFixture::items(card("A harbour"), "CardPreview").value(0);
    QTest::mouseDClick(&qml.view(), Qt::LeftButton, {}, preview->mapToScene(preview->boundingRect().center()).toPoint());
    EXPECT_THAT(desktop.opened, ElementsAre(model->imagineItems()[0].localPath));
}

TEST_F(ImagineGalleryTest, TheButtonOpensTheCreationAndTheTextDoesNot)
{
    keep({ creation("A harbour") });
    show();
    clickMiddle(QmlFixture::items(card("A harbour"), "Prose").value(0));
    EXPECT_TRUE(desktop.opened.empty());
    EXPECT_EQ(focusedPrompt(), "A harbour");
    clickMiddle(QmlFixture::items(card("A harbour"), "SymbolButton").value(0));
    EXPECT_EQ(desktop.opened.size(), 1U);
}

TEST_F(ImagineGalleryTest, TheMenuOffersToOpenAndToTrash)
{
    keep({ creation("A harbour"), creation("A flight") });
    show();
    clickMiddle(card("A harbour"), Qt::RightButton);
    ASSERT_TRUE(awaitMenu());
    EXPECT_EQ(menuEntries(), (QStringList{ "Open", "Move to Trash" }));
    const std::string path = model->imagineItems()[0].localPath;
    QMetaObject::invokeMethod(QmlFixture::items(qml.view().contentItem(), "AppMenuItem").value(1), "triggered");
    EXPECT_THAT(stillThere(), ElementsAre("A flight"));
    EXPECT_THAT(desktop.trashed, ElementsAre(path));
    EXPECT_TRUE(QmlFixture::becomes([this] { return card("A harbour") == nullptr; }));
    EXPECT_TRUE(desktop.opened.empty());
}

TEST_F(ImagineGalleryTest, TheKeysOpenTheMenuOnTheirEntry)
{
    keep({ creation("A harbour"), creation("A flight") });
    show();
    card("A harbour")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_F10, Qt::ShiftModifier);
    ASSERT_TRUE(awaitMenu());
    press(Qt::Key_Return);
    EXPECT_EQ(desktop.opened.size(), 1U);
    ASSERT_TRUE(awaitNoMenu());
    EXPECT_EQ(focusedPrompt(), "A harbour");
    press(Qt::Key_Delete);
    ASSERT_TRUE(awaitMenu());
    EXPECT_EQ(stillThere().size(), 2U) << "not before it is confirmed";
    press(Qt::Key_Escape);
    ASSERT_TRUE(awaitNoMenu());
    EXPECT_EQ(stillThere().size(), 2U);
    press(Qt::Key_Delete);
    ASSERT_TRUE(awaitMenu());
    press(Qt::Key_Return);
    EXPECT_THAT(stillThere(), ElementsAre("A flight"));
    ASSERT_TRUE(awaitNoMenu());
    EXPECT_TRUE(QmlFixture::becomes([this] { return focusedPrompt() == "A flight"; }))
        << "the focus goes on to the next, not to " << qml.view().activeFocusItem()->metaObject()->className();
}

TEST_F(ImagineGalleryTest, TheArrowsLeadFromCardToCard)
{
    keepMany(20);
    show(); // three columns, and one row that is seen whole
    card("Creation 0")->forceActiveFocus(Qt::TabFocusReason);
    const std::vector<std::pair<Qt::Key, QString>> steps{ { Qt::Key_Right, "Creation 1" }, { Qt::Key_Down, "Creation 4" },
        { Qt::Key_Left, "Creation 3" }, { Qt::Key_Up, "Creation 0" }, { Qt::Key_Left, "Creation 0" }, { Qt::Key_End, "Creation 19" },
        { Qt::Key_Home, "Creation 0" }, { Qt::Key_PageDown, "Creation 3" }, { Qt::Key_PageUp, "Creation 0" } };
    for (const auto& [key, prompt] : steps) {
        press(key);
        EXPECT_EQ(focusedPrompt(), prompt) << key;
    }
    press(Qt::Key_Return);
    press(Qt::Key_Space);
    EXPECT_EQ(desktop.opened.size(), 2U);
}

TEST_F(ImagineGalleryTest, TheCardWithTheFocusIsInSight)
{
    keepMany(60);
    show();
    card("Creation 0")->forceActiveFocus(Qt::TabFocusReason);
    const auto isInSight = [this] {
        const QQuickItem* focused = focusedCard();
        const QRectF place = focused->mapRectToItem(item("ImagineGallery"), focused->boundingRect());
        return place.top() >= 0 && place.bottom() <= item("ImagineGallery")->height();
    };
    for (const Qt::Key key : { Qt::Key_End, Qt::Key_Up, Qt::Key_Up, Qt::Key_Home, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down }) {
        press(key);
        EXPECT_TRUE(QmlFixture::becomes(isInSight)) << key;
    }
}

TEST_F(ImagineGalleryTest, TabLeadsToOneCardAndOnToItsButtonAndTheGenerator)
{
    keepMany(20);
    show();
    button("Hide the sidebar")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Tab);
    EXPECT_EQ(focusedPrompt(), "Creation 0");
    press(Qt::Key_Right);
    press(Qt::Key_Tab);
    EXPECT_TRUE(QmlFixture::items(card("Creation 1"), "SymbolButton").value(0)->hasActiveFocus());
    press(Qt::Key_Tab);
    EXPECT_TRUE(items("Segment")[0]->hasActiveFocus());
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focusedPrompt(), "Creation 1");
}

TEST_F(ImagineGalleryTest, AfterTheLastCardIsTrashedTheFocusIsInThePrompt)
{
    keep({ creation("A harbour") });
    show();
    card("A harbour")->forceActiveFocus(Qt::TabFocusReason);
    model->deleteImagineItem(model->imagineItems()[0]);
    EXPECT_TRUE(item("GalleryEmpty")->isVisible());
    EXPECT_TRUE(QmlFixture::becomes([this] { return QmlFixture::items(root, "QQuickTextArea").value(0)->hasActiveFocus(); }))
        << qml.view().activeFocusItem()->metaObject()->className();
    type("a");
    EXPECT_EQ(draft(), "a");
}

TEST_F(ImagineGalleryTest, ANewCreationStandsFirstAndInSight)
{
    keepMany(60);
    const std::string file = made("new.png", picture(Qt::blue).toStdString());
    show(testing::makes({ file }));
    settle();
    model->generateImagine("Brand new", ImagineKind::image);
    waitForItems(61);
    ASSERT_TRUE(QmlFixture::becomes([&] { return card("Brand new") != nullptr; }));
    settle();
    EXPECT_TRUE(hasPicture(card("Brand new")));
    const QRectF place = card("Brand new")->mapRectToItem(item("ImagineGallery"), card("Brand new")->boundingRect());
    EXPECT_TRUE(QmlFixture::becomes([&] {
        return card("Brand new")->mapRectToItem(item("ImagineGallery"), card("Brand new")->boundingRect()).top() == 18;
    })) << place.top();
    EXPECT_EQ(place.left(), 18);
    EXPECT_TRUE(texts("Line").contains("Image ready"));
}

TEST_F(ImagineGalleryTest, ANewCreationDoesNotMoveWhatAPersonLooksAt)
{
    keepMany(60);
    const std::string file = made("new.png", picture(Qt::blue).toStdString());
    show(testing::makes({ file }));
    QQuickItem* looked = card("Creation 5");
    looked->forceActiveFocus(Qt::TabFocusReason);
    model->generateImagine("Brand new", ImagineKind::image);
    waitForItems(61);
    EXPECT_EQ(focusedPrompt(), "Creation 5");
}

} // namespace

} // namespace tessarin
