#include "Views/FilePicker.h"

#include "Printing.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

class FilePickerTest : public testing::Test
{
protected:
    FilePickerTest()
    {
        for (const char* folder : { "b10", "B9", ".local" }) {
            QDir(root.path()).mkpath(folder);
        }
        for (const char* name : { "kimi", "grok", ".hidden", " blanks " }) {
            QFile file(root.filePath(name));
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        }
        picker.ask({ "Choose the grok executable" }, [this](std::optional<std::string> path) { answers.push_back(std::move(path)); });
        picker.goTo(root.path());
    }

    [[nodiscard]] QString problem() const { return picker.property("problem").toString(); }
    [[nodiscard]] bool isOpen() const { return picker.property("isOpen").toBool(); }

    QTemporaryDir root;
    FilePicker picker;
    std::vector<std::optional<std::string>> answers;
};

TEST_F(FilePickerTest, ShowsTheQuestion)
{
    EXPECT_TRUE(isOpen());
    EXPECT_EQ(picker.property("title").toString(), "Choose the grok executable");
    EXPECT_EQ(picker.property("prompt").toString(), "Choose");
}

TEST_F(FilePickerTest, ListsAllFoldersAndThenTheVisibleFiles)
{
    EXPECT_EQ(picker.property("entries").toStringList(), (QStringList{ ".local/", "B9/", "b10/", " blanks ", "grok", "kimi" }));
}

TEST_F(FilePickerTest, AFileIsTheAnswerHoweverItIsGiven)
{
    picker.accept("grok");
    EXPECT_EQ(answers, (std::vector<std::optional<std::string>>{ root.filePath("grok").toStdString() }));
    EXPECT_FALSE(isOpen());
}

TEST_F(FilePickerTest, ANameWithBlanksAroundItIsTakenFromTheListAsItIs)
{
    picker.accept(picker.pathOf(" blanks "));
    EXPECT_EQ(answers, (std::vector<std::optional<std::string>>{ root.filePath(" blanks ").toStdString() }));
}

TEST_F(FilePickerTest, AFolderIsNeverTheAnswerButGoneTo)
{
    picker.submit("b10");
    EXPECT_EQ(picker.property("path").toString(), root.filePath("b10"));
    picker.accept(root.filePath("b10"));
    EXPECT_TRUE(answers.empty());
    EXPECT_TRUE(isOpen());
    EXPECT_EQ(picker.property("entries").toStringList(), QStringList());
}

TEST_F(FilePickerTest, WhatIsNotThereIsSaid)
{
    picker.accept("missing");
    EXPECT_TRUE(answers.empty());
    EXPECT_TRUE(isOpen());
    EXPECT_TRUE(problem().contains(root.filePath("missing"))) << problem().toStdString();
    picker.submit("B9");
    EXPECT_EQ(problem(), "");
}

TEST_F(FilePickerTest, GivingUpAnswersWithNothing)
{
    picker.cancel();
    EXPECT_EQ(answers, (std::vector<std::optional<std::string>>{ std::nullopt }));
}

} // namespace

} // namespace tessarin
