#include "Models/AppSection.h"
#include "Models/ConnectionState.h"
#include "Models/InstallStatus.h"
#include "Models/PermissionRequest.h"
#include "Models/PlanEntry.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace tessarin
{
namespace
{

TEST(ConnectionStateTest, HasItsLabels)
{
    using Kind = ConnectionState::Kind;
    EXPECT_EQ(ConnectionState(Kind::idle).label(), "Not connected");
    EXPECT_EQ(ConnectionState(Kind::connecting).label(), "Connecting");
    EXPECT_EQ(ConnectionState(Kind::ready).label(), "Ready");
    EXPECT_EQ(ConnectionState(Kind::working).label(), "Agent is working");
    EXPECT_EQ(ConnectionState::failed("a").label(), "Needs attention");
    EXPECT_EQ(ConnectionState::failed("b").label(), "Needs attention");
}

TEST(ConnectionStateTest, FailuresAreEqualWithTheirTexts)
{
    EXPECT_EQ(ConnectionState::failed("a"), ConnectionState::failed("a"));
    EXPECT_NE(ConnectionState::failed("a"), ConnectionState::failed("b"));
    EXPECT_NE(ConnectionState::failed(""), ConnectionState());
    EXPECT_EQ(ConnectionState::failed("a").failureText(), "a");
    EXPECT_EQ(ConnectionState::failed("a").kind(), ConnectionState::Kind::failed);
}

TEST(ConnectionStateTest, IsIdleAtFirstAndBusyWhileConnectingAndWorking)
{
    using Kind = ConnectionState::Kind;
    EXPECT_EQ(ConnectionState(), ConnectionState(Kind::idle));
    EXPECT_TRUE(ConnectionState(Kind::connecting).isBusy());
    EXPECT_TRUE(ConnectionState(Kind::working).isBusy());
    EXPECT_FALSE(ConnectionState(Kind::idle).isBusy());
    EXPECT_FALSE(ConnectionState(Kind::ready).isBusy());
    EXPECT_FALSE(ConnectionState::failed("a").isBusy());
}

TEST(AppSectionTest, HasItsTextsInItsOrder)
{
    EXPECT_EQ(allAppSections, (std::array{ AppSection::build, AppSection::imagine }));
    EXPECT_EQ(rawText(AppSection::build), "build");
    EXPECT_EQ(rawText(AppSection::imagine), "imagine");
    EXPECT_EQ(appSectionFromRawText("build"), AppSection::build);
    EXPECT_EQ(appSectionFromRawText("imagine"), AppSection::imagine);
    EXPECT_EQ(appSectionFromRawText("Build"), std::nullopt);
    EXPECT_EQ(appSectionFromRawText(""), std::nullopt);
}

template <class Status>
class InstallStatusTest : public testing::Test
{
};
using Statuses = testing::Types<GrokInstallStatus, CodexInstallStatus, KimiInstallStatus, OpenCodeInstallStatus, ClaudeInstallStatus>;
TYPED_TEST_SUITE(InstallStatusTest, Statuses);

TYPED_TEST(InstallStatusTest, IsCheckingAtFirst)
{
    const TypeParam status;
    EXPECT_TRUE(status.isChecking());
    EXPECT_FALSE(status.isMissing());
    EXPECT_EQ(status.installed(), nullptr);
    EXPECT_EQ(status, TypeParam(Checking{}));
}

TYPED_TEST(InstallStatusTest, IsComparedByValue)
{
    using Record = std::remove_cvref_t<decltype(*std::declval<TypeParam>().installed())>;
    Record record;
    record.path = "/usr/bin/agent";
    const TypeParam first = record;
    EXPECT_EQ(first, TypeParam(record));
    EXPECT_EQ(first.installed()->version, std::nullopt);
    record.version = "1.0";
    const TypeParam second = record;
    EXPECT_NE(first, second);
    EXPECT_NE(first, TypeParam(Missing{}));
    EXPECT_NE(TypeParam(Missing{}), TypeParam());
    EXPECT_TRUE(TypeParam(Missing{}).isMissing());
    EXPECT_EQ(second.installed()->version, "1.0");
    EXPECT_EQ(second.installed()->path, "/usr/bin/agent");
}

TEST(InstallStatusesTest, OfDifferentVendorsAreDifferentTypes)
{
    static_assert(
        !std::is_same_v<GrokInstallStatus,
            KimiInstallStatus> && !std::is_same_v<GrokInstallStatus, OpenCodeInstallStatus> && !std::is_same_v<KimiInstallStatus, OpenCodeInstallStatus> && !std::is_same_v<CodexInstallStatus, ClaudeInstallStatus>);
    static_assert(
        !std::is_convertible_v<GrokInstallStatus, KimiInstallStatus> && !std::is_convertible_v<CodexInstallStatus, ClaudeInstallStatus>);
}

TEST(InstallStatusesTest, CodexAndClaudeCarryTheSignIn)
{
    CodexInstallStatus codex = InstalledWithSignIn{ .path = "/a", .version = "1", .signedIn = std::nullopt };
    EXPECT_EQ(codex.installed()->signedIn, std::nullopt);
    const CodexInstallStatus signedIn = InstalledWithSignIn{ .path = "/a", .version = "1", .signedIn = true };
    EXPECT_NE(codex, signedIn);
    EXPECT_NE(signedIn, CodexInstallStatus(InstalledWithSignIn{ .path = "/a", .version = "1", .signedIn = false }));
}

TEST(PermissionRequestTest, IsComparedByValue)
{
    const PermissionRequest request{
        .id = 1, .title = "t", .detail = "d", .options = { { .id = "o", .name = "Allow", .kind = "allow_once" } }
    };
    PermissionRequest other = request;
    EXPECT_EQ(request, other);
    other.options[0].kind = "reject_once";
    EXPECT_NE(request, other);
}

TEST(PlanEntryTest, IsComparedByValue)
{
    const PlanEntry entry{ .id = "1", .content = "c", .status = "pending", .priority = "high" };
    PlanEntry other = entry;
    EXPECT_EQ(entry, other);
    other.status = "completed";
    EXPECT_NE(entry, other);
}

} // namespace
} // namespace tessarin
