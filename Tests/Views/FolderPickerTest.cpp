#include "Views/FolderPicker.h"

#include "Printing.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

class FolderPickerTest : public testing::Test
{
protected:
    FolderPickerTest()
    {
        QDir(root.path()).mkpath("b10/inner");
        QDir(root.path()).mkpath("B9");
        QDir(root.path()).mkpath(".hidden");
        QFile file(root.filePath("file.txt"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    }

    void ask()
    {
        picker.ask({ "Choose a project", "Open Project" }, [this](std::optional<std::string> path) { answers.push_back(std::move(path)); });
    }

    QTemporaryDir root;
    FolderPicker picker;
    std::vector<std::optional<std::string>> answers;
};

TEST_F(FolderPickerTest, ShowsTheQuestionAndTheHomeFolderFirst)
{
    ask();
    EXPECT_TRUE(picker.property("isOpen").toBool());
    EXPECT_EQ(picker.property("title").toString(), "Choose a project");
    EXPECT_EQ(picker.property("prompt").toString(), "Open Project");
    EXPECT_EQ(picker.property("path").toString(), QDir::homePath());
}

TEST_F(FolderPickerTest, ListsTheVisibleFoldersInTheirNaturalOrder)
{
    ask();
    picker.goTo(root.path());
    EXPECT_EQ(picker.property("folders").toStringList(), (QStringList{ "B9", "b10" }));
    picker.goTo("b10");
    EXPECT_EQ(picker.property("path").toString(), root.filePath("b10"));
    picker.goUp();
    EXPECT_EQ(picker.property("path").toString(), root.path());
}

TEST_F(FolderPickerTest, AcceptingAnswersOnceWithThePath)
{
    ask();
    picker.goTo(root.path());
    picker.accept("./b10/../B9/");
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0], root.filePath("B9").toStdString());
    EXPECT_FALSE(picker.property("isOpen").toBool());
    picker.accept("b10");
    picker.cancel();
    EXPECT_EQ(answers.size(), 1U);
}

TEST_F(FolderPickerTest, APathThatIsNoFolderIsRefusedAndSaidSo)
{
    ask();
    picker.goTo(root.path());
    for (const char* path : { "missing", "file.txt" }) {
        picker.accept(path);
        EXPECT_TRUE(answers.empty()) << path;
        EXPECT_TRUE(picker.property("isOpen").toBool());
        EXPECT_TRUE(picker.property("problem").toString().contains(root.filePath(path)));
    }
    picker.goTo("b10");
    EXPECT_EQ(picker.property("problem").toString(), "");
}

TEST_F(FolderPickerTest, GivingUpAnswersWithNothing)
{
    ask();
    picker.cancel();
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0], std::nullopt);
}

TEST_F(FolderPickerTest, AnotherQuestionGivesUpTheFirst)
{
    ask();
    ask();
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0], std::nullopt);
    EXPECT_TRUE(picker.property("isOpen").toBool());
}

TEST_F(FolderPickerTest, ANewFolderIsMadeAndEntered)
{
    ask();
    picker.goTo(root.path());
    picker.createFolder("fresh");
    EXPECT_TRUE(QDir(root.filePath("fresh")).exists());
    EXPECT_EQ(picker.property("path").toString(), root.filePath("fresh"));
    picker.createFolder("  ");
    EXPECT_NE(picker.property("problem").toString(), "");
}

TEST_F(FolderPickerTest, TheNextQuestionBeginsWhereThePersonWas)
{
    ask();
    picker.goTo(root.path());
    picker.cancel();
    ask();
    EXPECT_EQ(picker.property("path").toString(), root.path());
}

TEST_F(FolderPickerTest, ATildeIsTheHomeFolder)
{
    ask();
    picker.goTo("/");
    picker.goTo("~");
    EXPECT_EQ(picker.property("path").toString(), QDir::homePath());
    picker.goTo("/");
    EXPECT_FALSE(picker.property("canGoUp").toBool());
}

} // namespace

} // namespace tessarin
