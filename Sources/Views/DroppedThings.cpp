#include "Views/DroppedThings.h"

#include <QDir>
#include <QFileInfo>

namespace tessarin
{

QStringList DroppedThings::folders(const QList<QUrl>& urls) const
{
    QStringList paths;
    for (const QUrl& url : urls) {
        if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir()) {
            paths.append(QDir::cleanPath(url.toLocalFile()));
        }
    }
    paths.removeDuplicates();
    return paths;
}

QString DroppedThings::text(const QList<QUrl>& urls, const QString& text) const
{
    if (!folders(urls).isEmpty()) {
        return {};
    }
    QStringList paths;
    for (const QUrl& url : urls) {
        if (url.isLocalFile()) {
            paths.append(url.toLocalFile());
        }
    }
    return paths.isEmpty() ? text : paths.join(QLatin1Char('\n'));
}

} // namespace tessarin
