#include "Views/NotificationRules.h"

#include "Printing.h"

#include <gtest/gtest.h>

#include <vector>

namespace tessarin
{

namespace
{

using Kind = Notification::Kind;

const Uuid workspace = *Uuid::parse("11111111-1111-4111-8111-111111111111");
const Uuid thread = *Uuid::parse("22222222-2222-4222-8222-222222222222");

// Nothing has happened, in a task that Grok has.
News quiet()
{
    News news;
    news.provider = AgentProvider::grok;
    news.workspaceID = workspace;
    news.threadID = thread;
    news.taskTitle = "Mend the wheel";
    news.isHeard = true;
    return news;
}

template <class Change>
News with(Change change)
{
    News news = quiet();
    change(news);
    return news;
}

struct Told {
    const char* what;
    News news;
    QString announced;
    std::optional<Notification> notified;
};

Notification ofTask(Kind kind, const QString& body)
{
    return { { AppSection::build, workspace, thread }, kind, "Mend the wheel", body };
}

Notification ofImagine(Kind kind, const QString& body)
{
    return { { AppSection::imagine, {}, {} }, kind, "Imagine", body };
}

void asks(News& news)
{
    news.isAsked = true;
    news.request = "Run make";
}

void fails(News& news)
{
    news.hasFailed = news.hasTurnFailed = true;
    news.message = "The wheel came off.";
    news.systemText = "Error from Grok: The wheel came off.";
}

void moves(News& news)
{
    news.hasMoved = true;
    news.systemText = "Grok allowance reached. Automatically handed this task to Kimi.";
}

std::vector<Told> rowsOfTasks()
{
    return {
        { "nothing", quiet(), "", std::nullopt },
        { "a request", with(asks), "Grok needs permission: Run make", ofTask(Kind::asks, "Grok needs permission: Run make") },
        { "a request that nobody hears the answer to", with([](News& news) {
             asks(news);
             news.isHeard = false;
         }),
            "Grok needs permission: Run make", std::nullopt },
        { "a failure of a turn", with(fails), "The wheel came off.", ofTask(Kind::failed, "The wheel came off.") },
        { "a failure of something else, which the person did themselves", with([](News& news) {
             news.hasFailed = true;
             news.message = "Codex login did not complete.";
         }),
            "Codex login did not complete.", std::nullopt },
        { "a message that has been dismissed", with([](News& news) { news.hasFailed = true; }), "", std::nullopt },
        { "a handoff", with(moves), "Grok allowance reached. Automatically handed this task to Kimi.",
            ofTask(Kind::moved, "Grok allowance reached. Automatically handed this task to Kimi.") },
        { "a switch that the person made", with([](News& news) { news.systemText = "Switched this task from Grok to Kimi."; }),
            "Switched this task from Grok to Kimi.", std::nullopt },
        { "the end of a turn", with([](News& news) { news.isTurnOver = true; }), "Grok has finished.",
            ofTask(Kind::ended, "Grok has finished.") },
        { "a turn that the person stopped", with([](News& news) {
             news.isTurnOver = true;
             news.systemText = "Stopped by you.";
         }),
            "Stopped by you.", std::nullopt },
        { "a request and a failure at once", with([](News& news) {
             asks(news);
             fails(news);
         }),
            "Grok needs permission: Run make", ofTask(Kind::asks, "Grok needs permission: Run make") },
        { "a request of which nobody is left, and why", with([](News& news) {
             asks(news);
             news.isHeard = false;
             fails(news);
         }),
            "Grok needs permission: Run make", ofTask(Kind::failed, "The wheel came off.") },
    };
}

std::vector<Told> rowsOfImagine()
{
    return {
        { "a request", with([](News& news) {
             asks(news);
             news.asker = AppSection::imagine;
         }),
            "Grok needs permission: Run make", ofImagine(Kind::asks, "Grok needs permission: Run make") },
        { "a failure", with([](News& news) {
             news.hasFailed = news.hasGenerationFailed = true;
             news.message = "No more pictures.";
         }),
            "No more pictures.", ofImagine(Kind::failed, "No more pictures.") },
        { "the end", with([](News& news) {
             news.isGenerationOver = true;
             news.progress = "Image ready";
         }),
            "Image ready", ofImagine(Kind::ended, "Grok has finished.") },
        { "a stop by the person", with([](News& news) {
             news.isGenerationOver = news.wasGenerationStopped = true;
             news.progress = "Stopped";
         }),
            "Stopped", std::nullopt },
    };
}

void expectAll(const std::vector<Told>& rows)
{
    for (const Told& row : rows) {
        EXPECT_EQ(NotificationRules::announcement(row.news), row.announced) << row.what;
        const auto notified = NotificationRules::notification(row.news);
        EXPECT_EQ(notified, row.notified) << row.what << ": " << (notified ? notified->body.toStdString() : "none");
    }
}

TEST(NotificationRulesTest, WhatBecomesOfATaskIsAnnouncedAndLessOfItNotified)
{
    expectAll(rowsOfTasks());
}

TEST(NotificationRulesTest, WhatBecomesOfAGenerationIsToldOfImagine)
{
    expectAll(rowsOfImagine());
}

TEST(NotificationRulesTest, WithoutAProviderItIsTheAgent)
{
    const News news = with([](News& each) {
        each.isTurnOver = true;
        each.provider = std::nullopt;
    });
    EXPECT_EQ(NotificationRules::notification(news), ofTask(Kind::ended, "Agent has finished."));
}

TEST(NotificationRulesTest, WhatCouldNotBeFollowedSaysFirstWhyAndKeepsItsPlace)
{
    const Notification told = ofTask(Kind::failed, "The wheel came off.");
    EXPECT_EQ(NotificationRules::held(told, AgentProvider::kimi),
        ofTask(Kind::failed, "Kimi is at work in another task. Click again when it has finished. The wheel came off."));
}

TEST(NotificationRulesTest, TheTextsAreWhatTheServiceCanShow)
{
    const Notification notification = ofTask(Kind::failed, "1 < 2 & \"three\"");
    using Texts = NotificationRules::Texts;
    EXPECT_EQ(NotificationRules::texts(notification, { "body" }), (Texts{ "Mend the wheel", "1 < 2 & \"three\"" }));
    EXPECT_EQ(
        NotificationRules::texts(notification, { "body", "body-markup" }), (Texts{ "Mend the wheel", "1 &lt; 2 &amp; &quot;three&quot;" }));
    EXPECT_EQ(NotificationRules::texts(notification, {}), (Texts{ "Mend the wheel: 1 < 2 & \"three\"", "" }));
}

TEST(NotificationRulesTest, TheTitleIsNeverMarkup)
{
    Notification notification = ofTask(Kind::ended, "Grok has finished.");
    notification.title = "<b>Bold</b>";
    EXPECT_EQ(NotificationRules::texts(notification, { "body", "body-markup" }).summary, "<b>Bold</b>");
}

TEST(NotificationRulesTest, EachTextIsOneBoundedLine)
{
    Notification notification = ofTask(Kind::failed, QString("a\n\tb ").repeated(1000));
    notification.title = QString("w").repeated(500);
    const auto texts = NotificationRules::texts(notification, { "body", "body-markup" });
    EXPECT_EQ(texts.summary, QString("w").repeated(NotificationRules::titleLimit - 1) + QStringLiteral("…"));
    EXPECT_EQ(texts.body.size(), NotificationRules::bodyLimit);
    EXPECT_TRUE(texts.body.startsWith("a b a b")) << texts.body.toStdString();
    EXPECT_TRUE(texts.body.endsWith("…"));
}

// A mark of markup counts as the character that it stands for: what is cut is never an escape.
TEST(NotificationRulesTest, NoEscapeIsCutInTwo)
{
    const auto texts = NotificationRules::texts(ofTask(Kind::failed, QString("&").repeated(1000)), { "body", "body-markup" });
    EXPECT_EQ(texts.body, QString("&amp;").repeated(NotificationRules::bodyLimit - 1) + QStringLiteral("…"));
}

} // namespace

} // namespace tessarin
