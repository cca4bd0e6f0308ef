#include "Platform/Preferences.h"

#include "Platform/Json.h"
#include "TemporaryFolder.h"
#include "TroubledDisk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stdlib.h>
#include <string>
#include <vector>

namespace tessarin
{
namespace
{

class PreferencesTest : public testing::Test
{
protected:
    [[nodiscard]] std::unique_ptr<Preferences> open() const
    {
        return std::make_unique<Preferences>(
            StoreLocations{ folder / "config", folder / "data" }, [] { return Instant::fromSecondsSince1970(1795249800); });
    }
    [[nodiscard]] std::string settingsPath() const { return folder / "config/preferences.json"; }
    [[nodiscard]] std::string bytesPath(const std::string& key) const { return folder / "data/" + key; }
    void storeSettings(const std::string& bytes) const
    {
        std::filesystem::create_directories(folder / "config");
        writeWholeFile(settingsPath(), bytes);
    }
    void storeBytes(const std::string& key, const std::string& bytes) const
    {
        std::filesystem::create_directories(folder / "data");
        writeWholeFile(bytesPath(key), bytes);
    }

    TemporaryFolder folder;
};

TEST_F(PreferencesTest, WithoutFilesNothingIsThereAndNothingIsWritten)
{
    const auto preferences = open();
    EXPECT_EQ(preferences->text("claudeModel"), std::nullopt);
    EXPECT_EQ(preferences->boolean("remoteHostEnabled.v1"), std::nullopt);
    EXPECT_EQ(preferences->bytes("savedWorkspaces.v1"), std::nullopt);
    preferences->flush();
    EXPECT_TRUE(namesIn(folder.path()).empty());
}

TEST_F(PreferencesTest, AValueIsVisibleAtOnce)
{
    const auto preferences = open();
    preferences->setText("claudeModel", "opus");
    EXPECT_EQ(preferences->text("claudeModel"), "opus");
    preferences->setBoolean("remoteHostEnabled.v1", true);
    EXPECT_EQ(preferences->boolean("remoteHostEnabled.v1"), true);
    for (int round = 0; round < 100; ++round) {
        preferences->setBytes("savedWorkspaces.v1", ByteRope(std::to_string(round)));
        EXPECT_EQ(preferences->bytes("savedWorkspaces.v1"), std::to_string(round));
    }
}

TEST_F(PreferencesTest, ValuesAreThereAfterARestart)
{
    auto preferences = open();
    preferences->setText("claudeModel", "ö \"quoted\"\n/");
    preferences->setText("openCodeGLMModel", "");
    preferences->setBoolean("remoteHostEnabled.v1", false);
    preferences->setBytes("savedWorkspaces.v1", ByteRope(std::string("\0\xFF[]", 4)));
    preferences.reset();
    preferences = open();
    EXPECT_EQ(preferences->text("claudeModel"), "ö \"quoted\"\n/");
    EXPECT_EQ(preferences->text("openCodeGLMModel"), "");
    EXPECT_EQ(preferences->boolean("remoteHostEnabled.v1"), false);
    EXPECT_EQ(preferences->bytes("savedWorkspaces.v1"), std::string("\0\xFF[]", 4));
}

TEST_F(PreferencesTest, EachKeyOfTheProgramKeepsAValueOfItsType)
{
    const std::vector<std::string> texts{ "grokPermissionMode.v1", "providerRoutingMode.v1", "remoteAdvertisedHost.v1", "updateFeedURL.v1",
        "grokExecutablePath", "codexExecutablePath", "kimiExecutablePath", "openCodeExecutablePath", "claudeExecutablePath", "claudeModel",
        "openCodeGLMModel" };
    auto preferences = open();
    for (const std::string& key : texts) {
        preferences->setText(key, "value of " + key);
    }
    preferences->setBoolean("remoteHostEnabled.v1", true);
    preferences->setBytes("savedWorkspaces.v1", ByteRope("[]"));
    preferences->setBytes("remoteHostSecret.v1", ByteRope(std::string(32, '\xFE')));
    preferences.reset();
    preferences = open();
    for (const std::string& key : texts) {
        EXPECT_EQ(preferences->text(key), "value of " + key);
    }
    EXPECT_EQ(preferences->boolean("remoteHostEnabled.v1"), true);
    EXPECT_EQ(preferences->bytes("savedWorkspaces.v1"), "[]");
    EXPECT_EQ(preferences->bytes("remoteHostSecret.v1"), std::string(32, '\xFE'));
    EXPECT_EQ(namesIn(folder / "data"), (std::vector<std::string>{ "remoteHostSecret.v1", "savedWorkspaces.v1" }));
}

TEST_F(PreferencesTest, SettingsAreOneJsonObjectOfTextsAndBooleans)
{
    const auto preferences = open();
    preferences->setText("claudeModel", "sonnet");
    preferences->setBoolean("remoteHostEnabled.v1", true);
    preferences->setText("grokPermissionMode.v1", "full_access");
    preferences->flush();
    EXPECT_EQ(parseJson(wholeFile(settingsPath())),
        parseJson(R"({"claudeModel":"sonnet","grokPermissionMode.v1":"full_access","remoteHostEnabled.v1":true})"));
}

TEST_F(PreferencesTest, BytesAreAFileOfTheirOwnAsTheyAre)
{
    const auto preferences = open();
    preferences->setBytes("savedWorkspaces.v1", ByteRope("[]"));
    preferences->flush();
    EXPECT_EQ(wholeFile(bytesPath("savedWorkspaces.v1")), "[]");
    EXPECT_FALSE(fileExists(settingsPath()));
}

TEST_F(PreferencesTest, FilesAndFoldersAreForTheAccountAlone)
{
    const auto preferences = open();
    preferences->setText("a", "b");
    preferences->setBytes("c", ByteRope("d"));
    preferences->flush();
    EXPECT_EQ(modeOf(folder / "config"), 0700U);
    EXPECT_EQ(modeOf(folder / "data"), 0700U);
    EXPECT_EQ(modeOf(settingsPath()), 0600U);
    EXPECT_EQ(modeOf(bytesPath("c")), 0600U);
}

TEST_F(PreferencesTest, TheNewestValueIsWrittenLast)
{
    const auto preferences = open();
    for (int round = 0; round < 500; ++round) {
        preferences->setBytes("key", ByteRope(std::string(static_cast<std::size_t>(round * 100), 'x') + std::to_string(round)));
        preferences->setText("text", std::to_string(round));
        if (round % 100 == 99) {
            preferences->flush();
            EXPECT_TRUE(wholeFile(bytesPath("key")).ends_with(std::to_string(round)));
            EXPECT_EQ(parseJson(wholeFile(settingsPath())), Json({ { "text", std::to_string(round) } }));
        }
    }
}

TEST_F(PreferencesTest, AValueOfAnotherTypeIsAbsentAndStays)
{
    storeSettings(R"({"a":1,"b":"text","c":true,"d":{"e":[null]}})");
    const auto preferences = open();
    EXPECT_EQ(preferences->text("a"), std::nullopt);
    EXPECT_EQ(preferences->boolean("a"), std::nullopt);
    EXPECT_EQ(preferences->boolean("b"), std::nullopt);
    EXPECT_EQ(preferences->text("c"), std::nullopt);
    preferences->setText("c", "now a text");
    preferences->flush();
    EXPECT_EQ(parseJson(wholeFile(settingsPath())), parseJson(R"({"a":1,"b":"text","c":"now a text","d":{"e":[null]}})"));
    EXPECT_EQ(namesIn(folder / "config"), std::vector<std::string>{ "preferences.json" });
}

TEST_F(PreferencesTest, RemovesAValueOfAnyType)
{
    auto preferences = open();
    preferences->setText("text", "a");
    preferences->setBoolean("boolean", true);
    preferences->setBytes("bytes", ByteRope("b"));
    preferences->flush();
    for (const char* key : { "text", "boolean", "bytes", "none" }) {
        preferences->remove(key);
    }
    EXPECT_EQ(preferences->bytes("bytes"), std::nullopt);
    EXPECT_EQ(preferences->text("text"), std::nullopt);
    preferences.reset();
    preferences = open();
    EXPECT_EQ(preferences->text("text"), std::nullopt);
    EXPECT_EQ(preferences->boolean("boolean"), std::nullopt);
    EXPECT_EQ(preferences->bytes("bytes"), std::nullopt);
    EXPECT_FALSE(fileExists(bytesPath("bytes")));
}

class UndecodableSettingsTest : public PreferencesTest, public testing::WithParamInterface<std::string_view>
{
};

TEST_P(UndecodableSettingsTest, CountAsEmptyAndAreKeptAsideBeforeTheyAreReplaced)
{
    const std::string bytes(GetParam());
    storeSettings(bytes);
    const auto preferences = open();
    EXPECT_EQ(preferences->text("claudeModel"), std::nullopt);
    preferences->flush();
    EXPECT_EQ(wholeFile(settingsPath()), bytes);
    EXPECT_EQ(namesIn(folder / "config"), std::vector<std::string>{ "preferences.json" });

    preferences->setText("claudeModel", "opus");
    preferences->flush();
    EXPECT_EQ(
        namesIn(folder / "config"), (std::vector<std::string>{ "preferences.json", "preferences.json.undecodable-20261121T083000Z" }));
    EXPECT_EQ(wholeFile(settingsPath() + ".undecodable-20261121T083000Z"), bytes);
    EXPECT_EQ(parseJson(wholeFile(settingsPath())), parseJson(R"({"claudeModel":"opus"})"));
}

INSTANTIATE_TEST_SUITE_P(
    Contents, UndecodableSettingsTest, testing::Values("", "{", "[]", "null", "{\"claudeModel\":\"a\"} x", "\xFF\xFE"));

TEST_F(PreferencesTest, AnUnreadableSettingsFileIsKeptAsideToo)
{
    std::filesystem::create_directories(settingsPath() + "/folder");
    const auto preferences = open();
    preferences->setText("claudeModel", "opus");
    preferences->flush();
    EXPECT_TRUE(isDirectory(settingsPath() + ".undecodable-20261121T083000Z/folder"));
    EXPECT_EQ(parseJson(wholeFile(settingsPath())), parseJson(R"({"claudeModel":"opus"})"));
}

TEST_F(PreferencesTest, WhatIsSetAsideIsThereBeforeTheNextWriteReplacesIt)
{
    storeBytes("key", "bad");
    const auto preferences = open();
    preferences->setAside("key");
    preferences->flush();
    EXPECT_EQ(namesIn(folder / "data"), std::vector<std::string>{ "key" });

    preferences->setBytes("key", ByteRope("good"));
    preferences->flush();
    EXPECT_EQ(wholeFile(bytesPath("key")), "good");
    EXPECT_EQ(wholeFile(bytesPath("key.undecodable-20261121T083000Z")), "bad");

    preferences->setBytes("key", ByteRope("better"));
    preferences->flush();
    EXPECT_EQ(namesIn(folder / "data"), (std::vector<std::string>{ "key", "key.undecodable-20261121T083000Z" }));
}

TEST_F(PreferencesTest, NothingThatWasSetAsideIsEverReplaced)
{
    for (const char* bad : { "bad 1", "bad 2", "bad 3" }) {
        storeBytes("key", bad);
        const auto preferences = open();
        preferences->setAside("key");
        preferences->setBytes("key", ByteRope("good"));
    }
    EXPECT_EQ(wholeFile(bytesPath("key.undecodable-20261121T083000Z")), "bad 1");
    EXPECT_EQ(wholeFile(bytesPath("key.undecodable-20261121T083000Z-2")), "bad 2");
    EXPECT_EQ(wholeFile(bytesPath("key.undecodable-20261121T083000Z-3")), "bad 3");
    EXPECT_EQ(wholeFile(bytesPath("key")), "good");
}

TEST_F(PreferencesTest, ASetAsideKeyIsKeptBeforeItIsRemovedToo)
{
    storeBytes("key", "bad");
    const auto preferences = open();
    preferences->setAside("key");
    preferences->remove("key");
    preferences->flush();
    EXPECT_EQ(namesIn(folder / "data"), std::vector<std::string>{ "key.undecodable-20261121T083000Z" });
}

TEST_F(PreferencesTest, SettingAsideAMissingValueDoesNothing)
{
    const auto preferences = open();
    preferences->setAside("key");
    preferences->setBytes("key", ByteRope("good"));
    preferences->flush();
    EXPECT_EQ(namesIn(folder / "data"), std::vector<std::string>{ "key" });
}

TEST_F(PreferencesTest, UnreadableBytesAreAbsentAndKeptAside)
{
    std::filesystem::create_directories(bytesPath("key") + "/folder");
    const auto preferences = open();
    EXPECT_EQ(preferences->bytes("key"), std::nullopt);
    preferences->setBytes("key", ByteRope("good"));
    preferences->flush();
    EXPECT_TRUE(isDirectory(bytesPath("key.undecodable-20261121T083000Z") + "/folder"));
    EXPECT_EQ(wholeFile(bytesPath("key")), "good");
}

TEST_F(PreferencesTest, AReaderGivesOnAnyThreadWhatWasThere)
{
    storeBytes("stored", "from the file");
    auto preferences = open();
    preferences->setBytes("pending", ByteRope("from memory"));
    const auto stored = preferences->bytesReader("stored");
    const auto pending = preferences->bytesReader("pending");
    const auto missing = preferences->bytesReader("missing");
    preferences.reset();
    EXPECT_EQ(stored().value(), "from the file");
    EXPECT_EQ(pending().value(), "from memory");
    EXPECT_EQ(missing().value(), std::nullopt);
    EXPECT_FALSE(Preferences({ folder.path(), folder.path() }).bytesReader("data")());
}

TEST_F(PreferencesTest, AFailedWriteKeepsTheFileOfBeforeAndTheValueVisible)
{
    storeBytes("key", "before");
    const auto preferences = open();
    const std::string large(200'000, 'x');
    {
        const FileSizeLimit limit(100'000);
        preferences->setBytes("key", ByteRope(large));
        preferences->flush();
        EXPECT_EQ(wholeFile(bytesPath("key")), "before");
        EXPECT_EQ(preferences->bytes("key"), large);
        EXPECT_EQ(namesIn(folder / "data"), std::vector<std::string>{ "key" });
    }
    preferences->flush();
    EXPECT_EQ(wholeFile(bytesPath("key")), large);
}

TEST_F(PreferencesTest, AFullDiskKeepsWhatIsStoredAndWhatIsSetAside)
{
    const std::string aside = "key.undecodable-20261121T083000Z";
    std::filesystem::create_directories(folder / "data");
    const auto findings = onADiskOf(256 * 1024, folder / "data", [&]() -> std::string {
        storeBytes("key", std::string(150'000, 'b'));
        const auto preferences = open();
        preferences->setAside("key");
        preferences->setBytes("key", ByteRope(std::string(200'000, 'n')));
        preferences->flush();
        if (wholeFile(bytesPath("key")) != std::string(150'000, 'b') || wholeFile(bytesPath(aside)) != std::string(150'000, 'b')) {
            return "What was stored is gone.";
        }
        if (namesIn(folder / "data") != std::vector<std::string>{ "key", aside }) {
            return "A temporary file is left.";
        }
        preferences->setBytes("key", ByteRope("small"));
        preferences->flush();
        if (wholeFile(bytesPath("key")) != "small" || namesIn(folder / "data") != std::vector<std::string>{ "key", aside }) {
            return "What fits is not written, or was set aside again.";
        }
        return wholeFile(bytesPath(aside)) == std::string(150'000, 'b') ? "" : "What was set aside is gone.";
    });
    EXPECT_EQ(findings, "");
}

TEST_F(PreferencesTest, ATemporaryThatAKilledProgramLeftIsReplaced)
{
    storeBytes("key.new", "half of a val");
    const auto preferences = open();
    preferences->setBytes("key", ByteRope("value"));
    preferences->flush();
    EXPECT_EQ(namesIn(folder / "data"), std::vector<std::string>{ "key" });
}

class StoreLocationsTest : public testing::Test
{
protected:
    static void set(const char* name, const char* value) { value ? setenv(name, value, 1) : unsetenv(name); }
    [[nodiscard]] static StoreLocations with(const char* configuration, const char* data)
    {
        set("HOME", "/home/somebody");
        set("XDG_CONFIG_HOME", configuration);
        set("XDG_DATA_HOME", data);
        return StoreLocations::current();
    }

private:
    struct Kept {
        explicit Kept(const char* variable) : name(variable), isSet(getenv(variable) != nullptr), value(isSet ? getenv(variable) : "") { }
        ~Kept() { set(name, isSet ? value.c_str() : nullptr); }
        const char* name;
        bool isSet;
        std::string value;
    };
    const Kept m_home{ "HOME" };
    const Kept m_configuration{ "XDG_CONFIG_HOME" };
    const Kept m_data{ "XDG_DATA_HOME" };
};

TEST_F(StoreLocationsTest, AreThoseOfTheEnvironment)
{
    const StoreLocations locations = with("/x/config", "/x/data");
    EXPECT_EQ(locations.configuration, "/x/config/tessarin");
    EXPECT_EQ(locations.data, "/x/data/tessarin");
}

TEST_F(StoreLocationsTest, AreBelowTheHomeFolderWhenNotSetEmptyOrRelative)
{
    for (const char* value : { static_cast<const char*>(nullptr), "", "relative/folder" }) {
        const StoreLocations locations = with(value, value);
        EXPECT_EQ(locations.configuration, "/home/somebody/.config/tessarin");
        EXPECT_EQ(locations.data, "/home/somebody/.local/share/tessarin");
    }
}

} // namespace
} // namespace tessarin
