#include "Views/MarkdownEntities.h"

#include <algorithm>
#include <array>

namespace tessarin
{

namespace
{

struct NamedEntity {
    const char* name;
    char32_t character;
};

// Those that people and agents write in prose, of the HTML standard's list; sorted by name.
constexpr std::array namedEntities{
    NamedEntity{ "amp", U'&' },
    NamedEntity{ "apos", U'\'' },
    NamedEntity{ "bull", U'•' },
    NamedEntity{ "cent", U'¢' },
    NamedEntity{ "copy", U'©' },
    NamedEntity{ "deg", U'°' },
    NamedEntity{ "divide", U'÷' },
    NamedEntity{ "euro", U'€' },
    NamedEntity{ "ge", U'≥' },
    NamedEntity{ "gt", U'>' },
    NamedEntity{ "hellip", U'…' },
    NamedEntity{ "infin", U'∞' },
    NamedEntity{ "laquo", U'«' },
    NamedEntity{ "larr", U'←' },
    NamedEntity{ "ldquo", U'“' },
    NamedEntity{ "le", U'≤' },
    NamedEntity{ "lsquo", U'‘' },
    NamedEntity{ "lt", U'<' },
    NamedEntity{ "mdash", U'—' },
    NamedEntity{ "micro", U'µ' },
    NamedEntity{ "middot", U'·' },
    NamedEntity{ "minus", U'−' },
    NamedEntity{ "nbsp", U'\u00a0' },
    NamedEntity{ "ndash", U'–' },
    NamedEntity{ "ne", U'≠' },
    NamedEntity{ "para", U'¶' },
    NamedEntity{ "plusmn", U'±' },
    NamedEntity{ "pound", U'£' },
    NamedEntity{ "quot", U'"' },
    NamedEntity{ "raquo", U'»' },
    NamedEntity{ "rarr", U'→' },
    NamedEntity{ "rdquo", U'”' },
    NamedEntity{ "reg", U'®' },
    NamedEntity{ "rsquo", U'’' },
    NamedEntity{ "sect", U'§' },
    NamedEntity{ "shy", U'\u00ad' },
    NamedEntity{ "times", U'×' },
    NamedEntity{ "trade", U'™' },
    NamedEntity{ "uarr", U'↑' },
    NamedEntity{ "yen", U'¥' },
};

QString fromCode(char32_t code)
{
    constexpr char32_t lastCode = 0x10ffff;
    const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
    if (code == 0 || code > lastCode || isSurrogate) {
        code = QChar::ReplacementCharacter;
    }
    return QString::fromUcs4(&code, 1);
}

} // namespace

QString entityText(const QString& entity)
{
    if (entity.size() < 3 || !entity.startsWith(QLatin1Char('&')) || !entity.endsWith(QLatin1Char(';'))) {
        return entity;
    }
    const QString name = entity.mid(1, entity.size() - 2);
    if (name.startsWith(QLatin1Char('#'))) {
        const bool isHexadecimal = name.size() > 1 && (name[1] == QLatin1Char('x') || name[1] == QLatin1Char('X'));
        bool isNumber = false;
        const uint code = isHexadecimal ? name.mid(2).toUInt(&isNumber, 16) : name.mid(1).toUInt(&isNumber, 10);
        return isNumber ? fromCode(code) : entity;
    }
    const auto known = std::find_if(
        namedEntities.begin(), namedEntities.end(), [&](const NamedEntity& candidate) { return name == QLatin1String(candidate.name); });
    return known == namedEntities.end() ? entity : fromCode(known->character);
}

} // namespace tessarin
