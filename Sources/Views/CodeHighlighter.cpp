#include "Views/CodeHighlighter.h"

#include <QStringView>

#include <algorithm>
#include <array>

namespace tessarin
{

namespace
{

enum CommentForm : unsigned { slashes = 1, hash = 2, dashes = 4, stars = 8 };

struct Language {
    const char* names; // with blanks around each
    unsigned comments;
    const char* quotes;
    const char* keywords; // with blanks around each
};

constexpr std::array languages{
    Language{ " c h cpp c++ cc cxx hpp objc cuda ", slashes | stars, "\"'",
        " alignas alignof auto bool break case catch char class co_await co_return co_yield concept const consteval constexpr constinit "
        "continue default delete do double else enum explicit extern false final float for friend goto if inline int long mutable "
        "namespace new noexcept nullptr operator override private protected public requires return short signed sizeof static "
        "static_assert static_cast struct switch template this throw true try typedef typename union unsigned using virtual void "
        "volatile while " },
    Language{ " js javascript jsx ts typescript tsx mjs qml ", slashes | stars, "\"'`",
        " abstract as async await boolean break case catch class const continue default delete do else enum export extends false "
        "finally for from function if implements import in instanceof interface let new null number of private protected public "
        "readonly return static string super switch this throw true try type typeof undefined var void while yield " },
    Language{ " py python python3 ", hash, "\"'",
        " False None True and as assert async await break class continue def del elif else except finally for from global if import "
        "in is lambda match nonlocal not or pass raise return self try while with yield " },
    Language{ " rs rust ", slashes | stars, "\"",
        " as async await break const continue crate dyn else enum extern false fn for if impl in let loop match mod move mut pub ref "
        "return self Self static struct super trait true type unsafe use where while " },
    Language{ " go golang ", slashes | stars, "\"`",
        " break case chan const continue default defer else fallthrough false for func go goto if import interface map nil package "
        "range return select struct switch true type var " },
    Language{ " java kotlin kt cs csharp c# swift scala dart ", slashes | stars, "\"'",
        " abstract actor as async await boolean break case catch class const continue data default defer do double else enum extends "
        "extension false final finally float for fun func guard if implements import in init int interface internal let long namespace "
        "new nil null object open override package private protected protocol public return self static struct super switch this throw "
        "throws true try typealias using val var virtual void when where while " },
    Language{ " sh bash zsh shell console fish ", hash, "\"'",
        " case cd do done echo elif else esac exit export fi for function if in local return set source then unset until while " },
    Language{ " json jsonc json5 ", slashes, "\"", " false null true " },
    Language{ " yaml yml toml ini conf dockerfile makefile cmake ", hash, "\"'", " false null true " },
    Language{ " sql ", dashes | stars, "'",
        " alter and as by case create delete distinct drop else end exists from group having in index insert into is join left like "
        "limit not null on or order outer primary right select set table then union unique update values when where with " },
    Language{ " rb ruby perl ", hash, "\"'",
        " and begin break case class def do else elsif end ensure false for if in module my next nil not or our rescue return self sub "
        "super then true unless until use when while yield " },
    Language{ " lua ", dashes, "\"'",
        " and break do else elseif end false for function goto if in local nil not or repeat return then true until while " },
};

bool hasWord(const char* words, const QString& word)
{
    return !word.isEmpty() && QLatin1String(words).contains(QLatin1Char(' ') + word + QLatin1Char(' '));
}

const Language* languageNamed(const QString& name)
{
    const auto known
        = std::find_if(languages.begin(), languages.end(), [&](const Language& language) { return hasWord(language.names, name); });
    return known == languages.end() ? nullptr : &*known;
}

bool isWordCharacter(QChar character)
{
    return character.isLetterOrNumber() || character == QLatin1Char('_');
}

// Walks through the code once and cuts it into words.
class Highlighter
{
public:
    Highlighter(const QString& code, const Language& language) : m_code(code), m_language(language) { }

    StyledRuns run()
    {
        while (m_at < m_code.size()) {
            step();
        }
        return std::move(m_content);
    }

private:
    void step();
    void add(TextRun::Word word, qsizetype end);
    [[nodiscard]] qsizetype commentEnd() const;
    [[nodiscard]] qsizetype literalEnd() const;
    [[nodiscard]] qsizetype wordEnd() const;
    [[nodiscard]] qsizetype lineEnd() const;
    [[nodiscard]] bool startsWith(const char* text) const { return QStringView(m_code).mid(m_at).startsWith(QLatin1String(text)); }

    const QString& m_code;
    const Language& m_language;
    qsizetype m_at = 0;
    StyledRuns m_content;
};

void Highlighter::step()
{
    const QChar character = m_code[m_at];
    if (const qsizetype comment = commentEnd(); comment > m_at) {
        add(TextRun::Word::Comment, comment);
    } else if (QLatin1String(m_language.quotes).contains(character)) {
        add(TextRun::Word::Literal, literalEnd());
    } else if (character.isDigit()) {
        add(TextRun::Word::Number, wordEnd());
    } else if (isWordCharacter(character)) {
        const qsizetype end = wordEnd();
        const bool isKeyword = hasWord(m_language.keywords, m_code.mid(m_at, end - m_at))
            || (m_language.comments & dashes && hasWord(m_language.keywords, m_code.mid(m_at, end - m_at).toLower()));
        add(isKeyword ? TextRun::Word::Keyword : TextRun::Word::Plain, end);
    } else {
        add(TextRun::Word::Plain, m_at + 1);
    }
}

void Highlighter::add(TextRun::Word word, qsizetype end)
{
    const QString text = m_code.mid(m_at, end - m_at);
    m_at = end;
    if (!m_content.runs.isEmpty() && m_content.runs.back().word == word) {
        m_content.runs.back().text += text;
        return;
    }
    TextRun run;
    run.text = text;
    run.word = word;
    m_content.runs.append(std::move(run));
}

qsizetype Highlighter::commentEnd() const
{
    const bool beginsWord = m_at == 0 || m_code[m_at - 1].isSpace();
    if (((m_language.comments & slashes) != 0 && startsWith("//")) || ((m_language.comments & dashes) != 0 && startsWith("--"))
        || ((m_language.comments & hash) != 0 && beginsWord && startsWith("#"))) {
        return lineEnd();
    }
    if ((m_language.comments & stars) != 0 && startsWith("/*")) {
        const qsizetype end = m_code.indexOf(QLatin1String("*/"), m_at + 2);
        return end < 0 ? m_code.size() : end + 2;
    }
    return m_at;
}

// To the same quote on the same line; a backslash hides the character behind it.
qsizetype Highlighter::literalEnd() const
{
    const qsizetype end = lineEnd();
    for (qsizetype i = m_at + 1; i < end; ++i) {
        if (m_code[i] == QLatin1Char('\\')) {
            ++i;
        } else if (m_code[i] == m_code[m_at]) {
            return i + 1;
        }
    }
    return m_at + 1;
}

qsizetype Highlighter::wordEnd() const
{
    qsizetype end = m_at;
    const bool isNumber = m_code[m_at].isDigit();
    while (end < m_code.size() && (isWordCharacter(m_code[end]) || (isNumber && m_code[end] == QLatin1Char('.')))) {
        ++end;
    }
    return end;
}

qsizetype Highlighter::lineEnd() const
{
    const qsizetype end = m_code.indexOf(QLatin1Char('\n'), m_at);
    return end < 0 ? m_code.size() : end;
}

} // namespace

StyledRuns highlightedCode(const QString& code, const QString& language)
{
    const Language* known = languageNamed(language.toLower());
    return known == nullptr ? StyledRuns::fromText(code) : Highlighter(code, *known).run();
}

} // namespace tessarin
