#include "Views/RuntimeLogRules.h"

#include "App/AppModel.h"

#include <QCoreApplication>
#include <QSysInfo>

#include <algorithm>
#include <array>
#include <utility>

namespace tessarin::RuntimeLogRules
{

namespace
{

constexpr qsizetype versionLimit = 100;
constexpr char16_t escape = 0x1b;

// Below the blank, as every table of ASCII has them. Their pictures in Unicode are in few fonts.
constexpr std::array<const char*, 0x20> controlNames{ "NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL", "BS", "TAB", "LF", "VT", "FF",
    "CR", "SO", "SI", "DLE", "DC1", "DC2", "DC3", "DC4", "NAK", "SYN", "ETB", "CAN", "EM", "SUB", "ESC", "FS", "GS", "RS", "US" };

// Characters that are invisible, that turn the direction of a line, or that a text view takes for its own marks. The joiners of scripts
// and of emoji are not among them.
constexpr std::array<std::pair<char16_t, char16_t>, 11> hidden{ { { 0x7f, 0x9f }, { 0xad, 0xad }, { 0x61c, 0x61c }, { 0x180e, 0x180e },
    { 0x200b, 0x200b }, { 0x200e, 0x200f }, { 0x2028, 0x202e }, { 0x2060, 0x206f }, { 0xfdd0, 0xfdef }, { 0xfeff, 0xfeff },
    { 0xfff9, 0xfffc } } };

bool isHidden(char16_t unit)
{
    return unit >= 0xfffe
        || std::any_of(hidden.begin(), hidden.end(), [unit](const auto& range) { return unit >= range.first && unit <= range.second; });
}

QString named(char32_t character)
{
    return QStringLiteral("‹U+%1›").arg(QString::number(character, 16).toUpper(), 4, QLatin1Char('0'));
}

// How long the sequence is that chooses a colour or a weight here: ESC [ numbers m. 0 for anything else.
qsizetype colourLength(QStringView text)
{
    if (text.size() < 3 || text[0] != QChar(escape) || text[1] != QLatin1Char('[')) {
        return 0;
    }
    qsizetype at = 2;
    while (at < text.size() && ((text[at] >= QLatin1Char('0') && text[at] <= QLatin1Char(';')))) {
        ++at;
    }
    return at < text.size() && text[at] == QLatin1Char('m') ? at + 1 : 0;
}

// The characters that spell a text nobody sees stand in two units.
bool isTag(QStringView text)
{
    return text.size() > 1 && text[0].unicode() == 0xdb40 && text[1].unicode() >= 0xdc00 && text[1].unicode() < 0xdc80;
}

// What a text says without what acts or deceives.
QString harmless(const QString& text)
{
    QString result;
    result.reserve(text.size());
    const QStringView all(text);
    for (qsizetype at = 0; at < all.size(); ++at) {
        const char16_t unit = all[at].unicode();
        const qsizetype colour = unit == escape ? colourLength(all.mid(at)) : 0;
        if (colour > 0) {
            at += colour - 1;
        } else if (unit == u'\r' && at + 1 < all.size() && all[at + 1] == QLatin1Char('\n')) {
            continue; // the end of a line on another system
        } else if (unit < 0x20 && unit != u'\n' && unit != u'\t') {
            result += QStringLiteral("‹%1›").arg(QLatin1String(controlNames[unit]));
        } else if (isTag(all.mid(at))) {
            result += named(QChar::surrogateToUcs4(unit, all[++at].unicode()));
        } else if (isHidden(unit)) {
            result += named(unit);
        } else {
            result += all[at];
        }
    }
    return result;
}

bool isOfAName(QChar character)
{
    return character.isLetterOrNumber() || character == QLatin1Char('_') || character == QLatin1Char('-') || character == QLatin1Char('.');
}

QString withoutHome(const QString& text, const QString& home)
{
    if (home.size() < 2 || !text.contains(home)) {
        return text; // "/" is the home of nobody
    }
    QString result;
    qsizetype from = 0;
    for (qsizetype at = text.indexOf(home); at >= 0; at = text.indexOf(home, at + home.size())) {
        const qsizetype end = at + home.size();
        const bool begins = at == 0 || !(isOfAName(text[at - 1]) || text[at - 1] == QLatin1Char('/'));
        const bool ends = end == text.size() || !isOfAName(text[end]);
        if (begins && ends) {
            result += QStringView(text).mid(from, at - from);
            result += QLatin1Char('~');
            from = end;
        }
    }
    result += QStringView(text).mid(from);
    return result;
}

QString onOneLine(const std::string& text)
{
    const QString line = shown(text, {}).simplified();
    return line.size() <= versionLimit ? line : line.first(versionLimit) + QStringLiteral("…");
}

QString line(const QString& name, const QString& what)
{
    constexpr qsizetype width = 17;
    return name.leftJustified(width) + what + QLatin1Char('\n');
}

template <class Status>
QString runtime(AgentProvider provider, const Status& status)
{
    const std::string_view name = label(provider);
    const auto* installed = status.installed();
    std::optional<bool> signedIn;
    if constexpr (requires { installed->signedIn; }) {
        signedIn = installed == nullptr ? std::nullopt : installed->signedIn;
    }
    const Finding found = installed != nullptr ? Finding::installed : status.isChecking() ? Finding::checking : Finding::missing;
    return line(QString::fromUtf8(name), finding(found, installed == nullptr ? std::nullopt : installed->version, signedIn));
}

} // namespace

QString shown(std::string_view part, const QString& home)
{
    return withoutHome(harmless(QString::fromUtf8(part)), home);
}

QString finding(Finding finding, const std::optional<std::string>& version, std::optional<bool> signedIn)
{
    switch (finding) {
    case Finding::checking:
        return QStringLiteral("being looked for");
    case Finding::missing:
        return QStringLiteral("not found");
    case Finding::installed:
        break;
    }
    const QString said = version ? onOneLine(*version) : QStringLiteral("version not known");
    return said + (!signedIn ? QString() : *signedIn ? QStringLiteral(", signed in") : QStringLiteral(", not signed in"));
}

QString versions(const AppModel& model)
{
    const QString system = QSysInfo::prettyProductName() + QStringLiteral(", ") + QSysInfo::currentCpuArchitecture();
    const QString all = line(QStringLiteral("tessarin"), QCoreApplication::applicationVersion()) + line(QStringLiteral("System"), system)
        + runtime(AgentProvider::grok, model.installStatus()) + runtime(AgentProvider::codex, model.codexInstallStatus())
        + runtime(AgentProvider::kimi, model.kimiInstallStatus()) + runtime(AgentProvider::glm, model.openCodeInstallStatus())
        + runtime(AgentProvider::claude, model.claudeInstallStatus());
    return all.chopped(1);
}

} // namespace tessarin::RuntimeLogRules
