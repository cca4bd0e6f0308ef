#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace tessarin
{

// Where a link of an agent's text may lead: to the web and to the mail program, and nowhere else.
namespace LinkRules
{

// The address behind a link; absent when it is none that is opened.
[[nodiscard]] std::optional<QUrl> address(const QString& link);
// What is shown before the link is opened: the whole address in ASCII, so that look-alike letters in a host name are seen.
[[nodiscard]] QString shown(const QUrl& address);

} // namespace LinkRules

} // namespace tessarin
