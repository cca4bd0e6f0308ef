#include "Views/NotificationRules.h"

#include "Views/ConversationRules.h"
#include "Views/PermissionRules.h"

namespace tessarin::NotificationRules
{

namespace
{

QString asked(const News& news)
{
    return PermissionRules::heading(news.provider) + QStringLiteral(": ") + news.request;
}

QString finished(std::optional<AgentProvider> provider)
{
    return ConversationRules::speaker(provider) + QStringLiteral(" has finished.");
}

Notification ofTask(const News& news, Notification::Kind kind, const QString& body)
{
    return { { AppSection::build, news.workspaceID, news.threadID }, kind, news.taskTitle, body };
}

Notification ofImagine(Notification::Kind kind, const QString& body)
{
    return { { AppSection::imagine, {}, {} }, kind, QStringLiteral("Imagine"), body };
}

// A line break would be one in some bubbles and a blank in others.
QString line(const QString& text, int limit)
{
    const QString flat = text.simplified();
    return flat.size() <= limit ? flat : flat.left(limit - 1) + QStringLiteral("…");
}

} // namespace

// The line that a failure leaves in the task says the same once more.
QString announcement(const News& news)
{
    if (news.isAsked) {
        return asked(news);
    }
    if (news.hasFailed && news.message) {
        return *news.message;
    }
    if (!news.systemText.isEmpty()) {
        return news.systemText;
    }
    if (news.isTurnOver) {
        return finished(news.provider);
    }
    return news.isGenerationOver ? news.progress : QString();
}

std::optional<Notification> notification(const News& news)
{
    using Kind = Notification::Kind;
    if (news.isAsked && news.isHeard) {
        return news.asker == AppSection::imagine ? ofImagine(Kind::asks, asked(news)) : ofTask(news, Kind::asks, asked(news));
    }
    if (news.hasTurnFailed && news.message) {
        return ofTask(news, Kind::failed, *news.message);
    }
    if (news.hasGenerationFailed && news.message) {
        return ofImagine(Kind::failed, *news.message);
    }
    if (news.hasMoved) {
        return ofTask(news, Kind::moved, news.systemText);
    }
    // A stop leaves a line of the program in the task; the end of a turn leaves none.
    if (news.isTurnOver && news.systemText.isEmpty()) {
        return ofTask(news, Kind::ended, finished(news.provider));
    }
    if (news.isGenerationOver && !news.wasGenerationStopped) {
        return ofImagine(Kind::ended, finished(AgentProvider::grok));
    }
    return std::nullopt;
}

// First what the click came to, and then what it was about.
Notification held(const Notification& notification, std::optional<AgentProvider> worker)
{
    Notification again = notification;
    again.body = ConversationRules::speaker(worker) + QStringLiteral(" is at work in another task. Click again when it has finished. ")
        + notification.body;
    return again;
}

Texts texts(const Notification& notification, const QStringList& capabilities)
{
    const QString title = line(notification.title, titleLimit);
    const QString body = line(notification.body, bodyLimit);
    if (!capabilities.contains(QStringLiteral("body"))) {
        return { title + QStringLiteral(": ") + body, QString() };
    }
    return { title, capabilities.contains(QStringLiteral("body-markup")) ? body.toHtmlEscaped() : body };
}

} // namespace tessarin::NotificationRules
