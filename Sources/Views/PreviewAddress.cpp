#include "Views/PreviewAddress.h"

#include <QByteArray>

namespace tessarin
{

namespace
{

constexpr auto encoding = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;

} // namespace

QUrl previewAddress(std::string_view path)
{
    const QByteArray bytes(path.data(), static_cast<qsizetype>(path.size()));
    return QUrl(QStringLiteral("image://%1/%2").arg(QLatin1String(previewProviderName), QString::fromLatin1(bytes.toBase64(encoding))));
}

std::string previewPath(const QString& id)
{
    return QByteArray::fromBase64(id.toLatin1(), encoding).toStdString();
}

} // namespace tessarin
