#include "Views/RemoteSettingsRules.h"

#include "Printing.h"

#include <gtest/gtest.h>

namespace tessarin
{

TEST(RemoteSettingsRulesTest, TheDotIsGreenWhileTheHostListensAndRedWhenItHasFailed)
{
    EXPECT_EQ(RemoteSettingsRules::stateTint(RemoteHostState::listening(43765)), Tint::Green);
    EXPECT_EQ(RemoteSettingsRules::stateTint(RemoteHostState::failed("taken")), Tint::Red);
    EXPECT_EQ(RemoteSettingsRules::stateTint(RemoteHostState::disabled()), Tint::Secondary);
    EXPECT_EQ(RemoteSettingsRules::stateTint(RemoteHostState::starting()), Tint::Orange);
}

TEST(RemoteSettingsRulesTest, TheCountOfDevicesIsToldFromOneOn)
{
    EXPECT_EQ(RemoteSettingsRules::connectedText(0), "");
    EXPECT_EQ(RemoteSettingsRules::connectedText(1), "1 connected");
    EXPECT_EQ(RemoteSettingsRules::connectedText(200), "200 connected");
}

} // namespace tessarin
