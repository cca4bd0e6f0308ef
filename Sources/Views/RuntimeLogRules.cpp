#include "Views/RuntimeLogRules.h"

#include "App/AppModel.h"

#include <QCoreApplication>
#include <QSysInfo>
#include <QUrl>

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

// Characters that are invisible, that turn the direction of a line, or that a text view takes for its own marks, in their order. The
// joiners of scripts and of emoji, and what asks for the coloured picture of one, are not among them.
constexpr std::array<std::pair<char32_t, char32_t>, 22> hidden{ { { 0x7f, 0x9f }, { 0xad, 0xad }, { 0x34f, 0x34f }, { 0x61c, 0x61c },
    { 0x115f, 0x1160 }, { 0x17b4, 0x17b5 }, { 0x180b, 0x180f }, { 0x200b, 0x200b }, { 0x200e, 0x200f }, { 0x2028, 0x202e },
    { 0x2060, 0x206f }, { 0x2800, 0x2800 }, { 0x3164, 0x3164 }, { 0xfdd0, 0xfdef }, { 0xfe00, 0xfe0e }, { 0xfeff, 0xfeff },
    { 0xffa0, 0xffa0 }, { 0xfff9, 0xfffc }, { 0xfffe, 0xffff }, { 0x1bca0, 0x1bca3 }, { 0x1d173, 0x1d17a }, { 0xe0000, 0xe0fff } } };

bool isHidden(char32_t character)
{
    const auto range
        = std::lower_bound(hidden.begin(), hidden.end(), character, [](const auto& each, char32_t c) { return each.second < c; });
    return range != hidden.end() && character >= range->first;
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

// The character that begins a text, which may stand in two units.
char32_t firstOf(QStringView text)
{
    const bool isPair = text.size() > 1 && text[0].isHighSurrogate() && text[1].isLowSurrogate();
    return isPair ? QChar::surrogateToUcs4(text[0], text[1]) : text[0].unicode();
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
        } else if (const char32_t character = firstOf(all.mid(at)); isHidden(character)) {
            result += named(character);
            at += character == unit ? 0 : 1;
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

// Whether a name that was read so far goes on there. A sentence ends with dots too: they count when more of a name is behind them.
bool goesOn(QStringView after)
{
    qsizetype at = 0;
    while (at < after.size() && after[at] == QLatin1Char('.')) {
        ++at;
    }
    return at < after.size() && isOfAName(after[at]);
}

// One way in which programs write the home folder.
struct Writing {
    QString text;
    bool isPath = true; // else the name of a folder in which a program keeps what belongs to a path
    bool endsAtADash = false; // as the name writes "/" with it
};

// Whether the home folder can begin there. In an address a path follows two slashes of its own; a name follows the slash of its folder.
bool canBegin(QStringView before, const Writing& writing)
{
    if (before.isEmpty() || (writing.isPath && before.endsWith(QLatin1String("file://")))) {
        return true;
    }
    return !isOfAName(before.back()) && !(writing.isPath && before.back() == QLatin1Char('/'));
}

bool canEnd(QStringView after, const Writing& writing)
{
    return (writing.endsAtADash && after.startsWith(QLatin1Char('-'))) || !goesOn(after);
}

QString without(const Writing& writing, const QString& text)
{
    if (!text.contains(writing.text)) {
        return text;
    }
    QString result;
    qsizetype from = 0;
    const qsizetype length = writing.text.size();
    for (qsizetype at = text.indexOf(writing.text); at >= 0; at = text.indexOf(writing.text, at + length)) {
        if (canBegin(QStringView(text).first(at), writing) && canEnd(QStringView(text).mid(at + length), writing)) {
            result += QStringView(text).mid(from, at - from);
            result += QLatin1Char('~');
            from = at + length;
        }
    }
    result += QStringView(text).mid(from);
    return result;
}

// As Claude Code names the folder of a project.
QString withDashes(const QString& path)
{
    QString name = path;
    for (QChar& character : name) {
        const bool stays = character.unicode() < 0x80 && character.isLetterOrNumber();
        character = stays ? character : QLatin1Char('-');
    }
    return name;
}

QString withoutHome(const QString& text, const QString& home)
{
    if (home.size() < 2) {
        return text; // "/" is the home of nobody
    }
    QString result = without({ home }, text);
    // A folder like /root names nobody, and "-root" may be an option of a program.
    if (home.count(QLatin1Char('/')) > 1) {
        result = without({ QString::fromLatin1(QUrl::toPercentEncoding(home)), false, false }, result); // as Grok names it
        result = without({ withDashes(home), false, true }, result);
    }
    return result;
}

QString onOneLine(const std::string& text, const QString& home)
{
    QString line = shown(text, home).simplified();
    if (line.size() > versionLimit) {
        const bool cutsInTwo = line[versionLimit - 1].isHighSurrogate();
        line.truncate(cutsInTwo ? versionLimit - 1 : versionLimit);
        line += QStringLiteral("…");
    }
    return line;
}

QString line(const QString& name, const QString& what)
{
    constexpr qsizetype width = 17;
    return name.leftJustified(width) + what + QLatin1Char('\n');
}

// Codex counts as signed in also when it has said "Not logged in" (`CodexLocator::signedIn`): in a report that would be wrong.
std::optional<bool> toldSignIn(AgentProvider provider, std::optional<bool> signedIn)
{
    return provider == AgentProvider::codex && signedIn == true ? std::nullopt : signedIn;
}

template <class Status>
QString runtime(AgentProvider provider, const Status& status, const QString& home)
{
    const std::string_view name = label(provider);
    const auto* installed = status.installed();
    std::optional<bool> signedIn;
    if constexpr (requires { installed->signedIn; }) {
        signedIn = installed == nullptr ? std::nullopt : installed->signedIn;
    }
    const Finding found = installed != nullptr ? Finding::installed : status.isChecking() ? Finding::checking : Finding::missing;
    const auto version = installed == nullptr ? std::nullopt : installed->version;
    return line(QString::fromUtf8(name), finding(provider, found, version, signedIn, home));
}

} // namespace

QString shown(std::string_view part, const QString& home)
{
    return withoutHome(harmless(QString::fromUtf8(part)), home);
}

QString finding(
    AgentProvider provider, Finding finding, const std::optional<std::string>& version, std::optional<bool> signedIn, const QString& home)
{
    switch (finding) {
    case Finding::checking:
        return QStringLiteral("being looked for");
    case Finding::missing:
        return QStringLiteral("not found");
    case Finding::installed:
        break;
    }
    const QString said = version ? onOneLine(*version, home) : QStringLiteral("version not known");
    const std::optional<bool> told = toldSignIn(provider, signedIn);
    return said + (!told ? QString() : *told ? QStringLiteral(", signed in") : QStringLiteral(", not signed in"));
}

QString versions(const AppModel& model, const QString& home)
{
    const QString system = QSysInfo::prettyProductName() + QStringLiteral(", ") + QSysInfo::currentCpuArchitecture();
    const QString all = line(QStringLiteral("tessarin"), QCoreApplication::applicationVersion()) + line(QStringLiteral("System"), system)
        + runtime(AgentProvider::grok, model.installStatus(), home) + runtime(AgentProvider::codex, model.codexInstallStatus(), home)
        + runtime(AgentProvider::kimi, model.kimiInstallStatus(), home) + runtime(AgentProvider::glm, model.openCodeInstallStatus(), home)
        + runtime(AgentProvider::claude, model.claudeInstallStatus(), home);
    return all.chopped(1);
}

} // namespace tessarin::RuntimeLogRules
