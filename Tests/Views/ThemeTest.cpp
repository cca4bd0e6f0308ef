#include "QmlFixture.h"

#include <QColor>
#include <QMetaProperty>

#include <algorithm>
#include <cmath>

namespace tessarin
{

namespace
{

// The tokens of the window's look.
class ThemeTest : public testing::Test
{
protected:
    ThemeTest()
    {
        QQmlComponent component(&engine);
        engine.addImportPath(QStringLiteral(":/"));
        component.setData("import QtQuick\nimport Tessarin\nItem { readonly property QtObject theme: Theme }", QUrl());
        holder.reset(component.create());
        theme = holder ? holder->property("theme").value<QObject*>() : nullptr;
    }
    ~ThemeTest() override
    {
        theme->setProperty("dark", false);
        theme->setProperty("reducedMotion", false);
    }

    QColor colour(const char* role) const { return theme->property(role).value<QColor>(); }
    // That colour where it lies over an opaque ground.
    static QColor over(const QColor& top, const QColor& ground)
    {
        const auto mixed = [&](float a, float b) { return a * top.alphaF() + b * (1 - top.alphaF()); };
        return QColor::fromRgbF(mixed(top.redF(), ground.redF()), mixed(top.greenF(), ground.greenF()), mixed(top.blueF(), ground.blueF()));
    }
    // The contrast of two opaque colours, from 1 to 21, as WCAG 2.1 reckons it.
    static double contrast(const QColor& one, const QColor& other)
    {
        const auto luminance = [](const QColor& colour) {
            const auto linear = [](double part) { return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); };
            return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
        };
        const auto [darker, lighter] = std::minmax({ luminance(one), luminance(other) }); // by value
        return (lighter + 0.05) / (darker + 0.05);
    }
    void expectContrast(const char* role, const char* ground, double least) const
    {
        for (const bool isDark : { false, true }) {
            theme->setProperty("dark", isDark);
            EXPECT_GE(contrast(over(colour(role), colour(ground)), colour(ground)), least)
                << role << " on " << ground << (isDark ? ", dark" : ", light");
        }
    }

    QQmlEngine engine;
    std::unique_ptr<QObject> holder;
    QObject* theme = nullptr;
};

TEST_F(ThemeTest, TextIsReadableOnEveryGround)
{
    for (const char* ground : { "window", "sidebar", "card", "sunken" }) {
        for (const char* text : { "text", "secondaryText", "accent", "green", "orange", "red" }) {
            expectContrast(text, ground, 4.5);
        }
    }
    for (const char* text : { "text", "secondaryText", "accent" }) {
        expectContrast(text, "accentTint", 4.5);
    }
    for (const char* text : { "codeKeyword", "codeText", "codeNumber", "secondaryText" }) {
        expectContrast(text, "sunken", 4.5);
    }
    expectContrast("text", "inlineCode", 4.5);
    for (const char* fill : { "accentFill", "accentFillHover", "accentFillPressed" }) {
        expectContrast("inkOnAccent", fill, 4.5);
    }
    for (const char* fill : { "redFill", "redFillHover" }) {
        expectContrast("inkOnRed", fill, 4.5);
    }
}

TEST_F(ThemeTest, TextIsReadableInThePanelOfACommand)
{
    for (const bool isDark : { false, true }) {
        theme->setProperty("dark", isDark);
        const QColor panel = over(colour("terminal"), colour("window"));
        EXPECT_GE(contrast(colour("terminalText"), panel), 4.5) << isDark;
    }
}

TEST_F(ThemeTest, TextStaysReadableUnderThePointer)
{
    for (const bool isDark : { false, true }) {
        theme->setProperty("dark", isDark);
        for (const char* text : { "text", "secondaryText" }) {
            for (const char* ground : { "window", "sidebar", "card", "accentTint" }) {
                EXPECT_GE(contrast(colour(text), over(colour("hover"), colour(ground))), 4.5) << text << ground << isDark;
                EXPECT_GE(contrast(colour(text), over(colour("pressed"), colour(ground))), 4.0)
                    << text << ground << isDark << ", for a moment";
            }
        }
    }
}

TEST_F(ThemeTest, SymbolsDotsAndTheFocusAreSeenOnEveryGround)
{
    for (const char* ground : { "window", "sidebar", "card", "sunken" }) {
        for (const char* mark : { "orangeMark", "green", "red", "accent", "strokeStrong" }) {
            expectContrast(mark, ground, 3);
        }
    }
}

TEST_F(ThemeTest, EveryColourHasItsShadeForLightAndDark)
{
    const QStringList same{ "ink", "inkOnAccent", "inkOnRed", "paper", "terminalText" };
    int count = 0;
    for (int i = theme->metaObject()->propertyOffset(); i < theme->metaObject()->propertyCount(); ++i) {
        const QMetaProperty property = theme->metaObject()->property(i);
        if (property.typeId() != QMetaType::QColor) {
            continue;
        }
        ++count;
        theme->setProperty("dark", false);
        const auto light = property.read(theme).value<QColor>();
        theme->setProperty("dark", true);
        EXPECT_EQ(property.read(theme).value<QColor>() == light, same.contains(QLatin1String(property.name()))) << property.name();
    }
    EXPECT_GT(count, 30);
}

TEST_F(ThemeTest, NothingTakesTimeWithLessMotion)
{
    EXPECT_EQ(theme->property("durationShort"), 150);
    EXPECT_EQ(theme->property("durationMedium"), 200);
    theme->setProperty("reducedMotion", true);
    EXPECT_EQ(theme->property("durationShort"), 0);
    EXPECT_EQ(theme->property("durationMedium"), 0);
}

} // namespace

} // namespace tessarin
