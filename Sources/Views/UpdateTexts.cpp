#include "Views/UpdateTexts.h"

#include "Platform/Text.h"
#include "Updates/ReleaseNotes.h"
#include "Views/RuntimeLogRules.h"
#include "Views/UpdateRules.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>

namespace tessarin::UpdateTexts
{

namespace
{

QString textOf(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// As it goes over the wire, so that nothing in it turns around or looks like another host. Empty for what can't be shown.
QString shownLink(const std::string& link)
{
    constexpr std::size_t mostCharacters = 500;
    const auto url = link.size() > mostCharacters ? std::nullopt : UpdateRules::validatedFeedURL(textOf(link));
    const QString shown = url ? url->toString(QUrl::FullyEncoded) : QString();
    return static_cast<std::size_t>(shown.size()) > mostCharacters ? QString() : shown;
}

QString sizeOf(qint64 bytes)
{
    constexpr int decimals = 1;
    return QLocale::c().formattedDataSize(bytes, decimals, QLocale::DataSizeSIFormat);
}

} // namespace

QString version(const AppcastItem& item)
{
    constexpr std::size_t mostCharacters = 24;
    const std::string_view said = firstLine(item.shortVersionString.empty() ? item.version : item.shortVersionString);
    const std::string shown = RuntimeLogRules::shown(firstCharacters(said, mostCharacters), {}).simplified().toStdString();
    return textOf(firstCharacters(shown, mostCharacters)); // a name is longer than what it names
}

QString notes(const AppcastItem& item)
{
    QString text = QString::fromStdString(ReleaseNotes::plainText(item.description));
    const QString link = shownLink(item.releaseNotesLink);
    if (!link.isEmpty()) {
        text += (text.isEmpty() ? QString() : QStringLiteral("\n\n")) + QStringLiteral("More at ") + link;
    }
    return text;
}

QString upToDate(const QString& running)
{
    return QStringLiteral("tessarin %1 is the newest version.").arg(running);
}

QString found(const QString& running, bool canInstall)
{
    return QStringLiteral("You have %1. ").arg(running)
        + (canInstall ? QStringLiteral("It is fetched, verified and installed when you say so.")
                      : QStringLiteral("It is fetched and verified when you say so, and shown in the file manager."));
}

QString foundInVain(const QString& running)
{
    return QStringLiteral("You have %1. This build can't verify updates, so it can't install this one.").arg(running);
}

QString installed()
{
    return QStringLiteral("It starts with the next launch. The version that runs now is kept until then.");
}

QString kept(const std::string& path)
{
    const QFileInfo file(QString::fromStdString(path));
    return QStringLiteral("The verified archive is “%1” in “%2”. Install it from there.")
        .arg(file.fileName(), QDir::toNativeSeparators(file.path()));
}

QString progress(qint64 received, qint64 whole)
{
    return received < whole ? QStringLiteral("%1 of %2").arg(sizeOf(received), sizeOf(whole)) : QStringLiteral("Verifying the signature…");
}

} // namespace tessarin::UpdateTexts
