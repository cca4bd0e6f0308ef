#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace tessarin::UpdateRules
{

// The address of the feed as the person sees it, when updates may be looked for there: it parses as an address, its scheme is https in
// any case of letters, and it names a host. Absent otherwise.
[[nodiscard]] std::optional<QUrl> validatedFeedURL(const QString& feedURL);

// The line of the settings about a feed that is usable or not.
[[nodiscard]] QString statusMessage(bool isUsable);
// The same after a person has asked for updates from a feed that is not usable.
[[nodiscard]] QString cannotCheckMessage();

} // namespace tessarin::UpdateRules
