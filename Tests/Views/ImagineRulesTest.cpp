#include "Views/ImagineRules.h"

#include "Printing.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

TEST(ImagineRulesTest, OneCreationIsNotManyAndNoneIs)
{
    EXPECT_EQ(ImagineRules::countLabel(0), "0 creations");
    EXPECT_EQ(ImagineRules::countLabel(1), "1 creation");
    EXPECT_EQ(ImagineRules::countLabel(2), "2 creations");
    EXPECT_EQ(ImagineRules::countLabel(5000), "5000 creations");
}

TEST(ImagineRulesTest, APromptIsTrimmed)
{
    EXPECT_EQ(ImagineRules::promptToGenerate(" \n a harbour\nat dawn \t", {}), "a harbour\nat dawn");
}

TEST(ImagineRulesTest, ABlankPromptStaysInItsField)
{
    for (const char* blank : { "", " ", "\n\n", " \t\u00a0" }) {
        EXPECT_EQ(ImagineRules::promptToGenerate(blank, {}), std::nullopt) << '"' << blank << '"';
    }
}

TEST(ImagineRulesTest, OnlyAGenerationThatRunsHoldsTheNextOneBack)
{
    using Kind = ConnectionState::Kind;
    EXPECT_EQ(ImagineRules::promptToGenerate("a", Kind::working), std::nullopt);
    for (const ConnectionState& state :
        { ConnectionState(Kind::idle), ConnectionState(Kind::connecting), ConnectionState(Kind::ready), ConnectionState::failed("why") }) {
        EXPECT_EQ(ImagineRules::promptToGenerate("a", state), "a") << state.label();
    }
}

TEST(ImagineRulesTest, FormatsAndKindsAreTheSame)
{
    for (const ImagineKind kind : allImagineKinds) {
        EXPECT_EQ(ImagineRules::kind(ImagineRules::format(kind)), kind);
    }
    EXPECT_EQ(ImagineRules::format(ImagineKind::video), ImagineFormat::Video);
}

TEST(ImagineRulesTest, TheBeginningOfAPromptEndsBetweenTwoCharacters)
{
    EXPECT_EQ(ImagineRules::excerpt(QString(1000, 'a')), QString(1000, 'a'));
    const QString face = QString::fromUtf8("\xf0\x9f\x98\x80");
    EXPECT_EQ(ImagineRules::excerpt(QString(999, 'a') + face + "b"), QString(999, 'a') + QChar(0x2026));
    EXPECT_EQ(ImagineRules::excerpt(QString(998, 'a') + face + "b"), QString(998, 'a') + face + QChar(0x2026));
}

} // namespace

} // namespace tessarin
