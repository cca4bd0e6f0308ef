#pragma once

#include "Views/News.h"
#include "Views/Notification.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace tessarin
{

// What is said of news: to a screen reader, which tells of the window that is in use, and by the desktop, while none of ours is.
namespace NotificationRules
{

// One sentence for a screen reader; empty when there is nothing to say. What a person has to act on comes first.
[[nodiscard]] QString announcement(const News& news);

// For the desktop. Less is worth a notification than an announcement: nothing that the person has just done, a stop above all.
[[nodiscard]] std::optional<Notification> notification(const News& news);

// In place of one that could not be followed, because its task would take the window from that of an agent at work: how it can be.
[[nodiscard]] Notification held(const Notification& notification, std::optional<AgentProvider> worker);

// The two texts as a notification server takes them that has these capabilities (version 1.2 of its protocol): one line each,
// of bounded length. Where the body is markup its own characters are escaped, and where there is none the title holds all.
struct Texts {
    QString summary;
    QString body;
    bool operator==(const Texts&) const = default;
};
[[nodiscard]] Texts texts(const Notification& notification, const QStringList& capabilities);

inline constexpr int titleLimit = 100; // characters
inline constexpr int bodyLimit = 300;

} // namespace NotificationRules

} // namespace tessarin
