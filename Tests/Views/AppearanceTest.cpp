#include "Views/Appearance.h"

#include "Platform/Preferences.h"

#include <QGuiApplication>
#include <QPalette>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

class AppearanceTest : public testing::Test
{
protected:
    AppearanceTest() : preferences(StoreLocations{ folder.path().toStdString() + "/config", folder.path().toStdString() + "/data" }) { }
    ~AppearanceTest() override
    {
        qunsetenv("TESSARIN_APPEARANCE");
        qunsetenv("TESSARIN_REDUCED_MOTION");
        QGuiApplication::setPalette(QPalette());
    }

    static void setPalette(Qt::GlobalColor ground, Qt::GlobalColor text)
    {
        QPalette palette;
        palette.setColor(QPalette::Window, ground);
        palette.setColor(QPalette::WindowText, text);
        QGuiApplication::setPalette(palette);
        QCoreApplication::processEvents();
    }
    void say(const char* group, const char* key, const QVariant& value)
    {
        emit portal.settingChanged(QLatin1String(group), QLatin1String(key), value);
    }

    QTemporaryDir folder;
    Preferences preferences;
    DesktopPortal portal;
};

TEST_F(AppearanceTest, TheSchemeOfTheDesktopReadsAsTold)
{
    EXPECT_EQ(darkFromColorScheme(QVariant(1U)), true);
    EXPECT_EQ(darkFromColorScheme(QVariant(2U)), false);
    EXPECT_EQ(darkFromColorScheme(QVariant(0U)), std::nullopt);
    EXPECT_EQ(darkFromColorScheme(QVariant(7U)), std::nullopt);
    EXPECT_EQ(darkFromColorScheme(QVariant("dark")), std::nullopt);
    EXPECT_EQ(darkFromColorScheme(QVariant()), std::nullopt);
}

TEST_F(AppearanceTest, FollowsTheDesktopLiveAndRemembersIt)
{
    setPalette(Qt::white, Qt::black);
    Appearance appearance(preferences);
    appearance.follow(portal);
    const QSignalSpy changed(&appearance, &Appearance::darkChanged);
    EXPECT_FALSE(appearance.isDark());
    say("org.freedesktop.appearance", "color-scheme", 1U);
    EXPECT_TRUE(appearance.isDark());
    EXPECT_EQ(changed.count(), 1);
    EXPECT_TRUE(Appearance(preferences).isDark());
    say("org.freedesktop.appearance", "color-scheme", 2U);
    EXPECT_FALSE(appearance.isDark());
    say("org.freedesktop.appearance", "accent-color", 1U);
    EXPECT_FALSE(appearance.isDark());
}

TEST_F(AppearanceTest, ADesktopThatSaysNothingIsJudgedByItsPalette)
{
    setPalette(Qt::black, Qt::white);
    Appearance appearance(preferences);
    EXPECT_TRUE(appearance.isDark());
    appearance.follow(portal);
    setPalette(Qt::white, Qt::black);
    EXPECT_FALSE(appearance.isDark());
}

TEST_F(AppearanceTest, TheEnvironmentDecides)
{
    qputenv("TESSARIN_APPEARANCE", "dark");
    qputenv("TESSARIN_REDUCED_MOTION", "1");
    Appearance appearance(preferences);
    appearance.follow(portal);
    say("org.freedesktop.appearance", "color-scheme", 2U);
    say("org.gnome.desktop.interface", "enable-animations", true);
    EXPECT_TRUE(appearance.isDark());
    EXPECT_TRUE(appearance.hasReducedMotion());
}

TEST_F(AppearanceTest, LessMotionFollowsTheDesktop)
{
    Appearance appearance(preferences);
    appearance.follow(portal);
    const QSignalSpy changed(&appearance, &Appearance::reducedMotionChanged);
    say("org.gnome.desktop.interface", "enable-animations", false);
    EXPECT_TRUE(appearance.hasReducedMotion());
    say("org.gnome.desktop.interface", "enable-animations", true);
    EXPECT_FALSE(appearance.hasReducedMotion());
    EXPECT_EQ(changed.count(), 2);
    say("org.freedesktop.appearance", "reduced-motion", 1U);
    EXPECT_TRUE(appearance.hasReducedMotion());
    say("org.gnome.desktop.interface", "enable-animations", false);
    say("org.freedesktop.appearance", "reduced-motion", 0U);
    EXPECT_TRUE(appearance.hasReducedMotion()) << "either is enough";
}

} // namespace

} // namespace tessarin
