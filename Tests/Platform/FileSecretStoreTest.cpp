#include "Platform/FileSecretStore.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace tessarin
{

namespace
{

class FileSecretStoreTest : public testing::Test
{
protected:
    void put(const std::string& bytes, mode_t fileMode, mode_t folderMode = 0700)
    {
        ASSERT_EQ(::mkdir(folder.c_str(), folderMode), 0);
        ASSERT_EQ(::chmod(folder.c_str(), folderMode), 0);
        writeWholeFile(file, bytes);
        ASSERT_EQ(::chmod(file.c_str(), fileMode), 0);
    }

    TemporaryFolder place;
    const std::string folder = place / "secrets";
    const std::string file = folder + "/service.account";
    const std::string secret = std::string("with\0zero \xff", 11);
    FileSecretStore store{ folder };
};

} // namespace

TEST_F(FileSecretStoreTest, HasNothingBeforeAnythingIsSavedAndMakesNothing)
{
    EXPECT_EQ(store.load("service", "account"), std::nullopt);
    EXPECT_TRUE(namesIn(place.path()).empty());
}

TEST_F(FileSecretStoreTest, KeepsTheBytesInAFileForThePersonAlone)
{
    const mode_t mask = ::umask(0);
    store.save("service", "account", secret);
    ::umask(mask);
    EXPECT_EQ(store.load("service", "account"), secret);
    EXPECT_EQ(wholeFile(file), secret);
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{ "service.account" });
}

TEST_F(FileSecretStoreTest, AnotherAccountHasAnotherFile)
{
    store.save("service", "account", secret);
    EXPECT_EQ(store.load("service", "other"), std::nullopt);
}

TEST_F(FileSecretStoreTest, TightensAFileThatOthersCouldReadBeforeItIsRead)
{
    put(secret, 0644, 0755);
    EXPECT_EQ(store.load("service", "account"), secret);
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(file), 0600U);
}

TEST_F(FileSecretStoreTest, TightensAFolderThatOthersCouldReadBeforeItIsWritten)
{
    put("old", 0666, 0777);
    store.save("service", "account", secret);
    EXPECT_EQ(wholeFile(file), secret);
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(file), 0600U);
}

TEST_F(FileSecretStoreTest, FollowsNoLink)
{
    ASSERT_EQ(::mkdir(folder.c_str(), 0700), 0);
    writeWholeFile(place / "elsewhere", secret);
    ASSERT_EQ(::symlink((place / "elsewhere").c_str(), file.c_str()), 0);
    EXPECT_EQ(store.load("service", "account"), std::nullopt);
    store.save("service", "account", "new");
    EXPECT_EQ(wholeFile(place / "elsewhere"), secret);
    EXPECT_EQ(store.load("service", "account"), "new");
}

TEST_F(FileSecretStoreTest, WhatCannotBeWrittenIsForgottenWithoutAWord)
{
    writeWholeFile(folder, "a file where the folder should be");
    store.save("service", "account", secret);
    EXPECT_EQ(store.load("service", "account"), std::nullopt);
    EXPECT_EQ(wholeFile(folder), "a file where the folder should be");
}

TEST_F(FileSecretStoreTest, AFileTooLargeForASecretIsNotRead)
{
    put(std::string(1 << 20, 'x'), 0600);
    EXPECT_EQ(store.load("service", "account"), std::nullopt);
}

TEST_F(FileSecretStoreTest, RemovesOneSecret)
{
    store.save("service", "account", secret);
    store.save("service", "other", "other");
    store.remove("service", "account");
    store.remove("service", "never there");
    EXPECT_EQ(store.load("service", "account"), std::nullopt);
    EXPECT_EQ(store.load("service", "other"), "other");
}

} // namespace tessarin
