#include "Views/UpdateRules.h"

namespace tessarin::UpdateRules
{

std::optional<QUrl> validatedFeedURL(const QString& feedURL)
{
    QUrl url(feedURL, QUrl::StrictMode);
    // The scheme comes out in lower case.
    if (!url.isValid() || url.scheme() != QLatin1String("https") || url.host().isEmpty()) {
        return std::nullopt;
    }
    return url;
}

QString statusMessage(bool isUsable)
{
    return isUsable ? QStringLiteral("Sparkle will read the HTTPS appcast and verify the EdDSA-signed update archive before installing.")
                    : QStringLiteral("Add an HTTPS appcast URL to enable updates.");
}

QString cannotCheckMessage()
{
    return QStringLiteral("Enter a valid HTTPS appcast URL first.");
}

} // namespace tessarin::UpdateRules
