#include "Views/LinkRules.h"

namespace tessarin::LinkRules
{

std::optional<QUrl> address(const QString& link)
{
    const QUrl url(link, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    // What stands before an "@" looks like the host and is not.
    if (!url.isValid() || !url.userInfo().isEmpty()) {
        return std::nullopt;
    }
    const bool isWeb = (scheme == QLatin1String("http") || scheme == QLatin1String("https")) && !url.host().isEmpty();
    const bool isMail = scheme == QLatin1String("mailto") && !url.path().isEmpty();
    return isWeb || isMail ? std::optional(url) : std::nullopt;
}

QString shown(const QUrl& address)
{
    return QString::fromLatin1(address.toEncoded());
}

} // namespace tessarin::LinkRules
