#include "Views/StyledText.h"

#include "Views/LineDrop.h"
#include "Views/LinkRules.h"
#include "Views/TextDirection.h"

#include <QTextBlockFormat>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>
#include <utility>

namespace tessarin
{

namespace
{

bool isSameStyle(TextRun left, TextRun right)
{
    left.text.clear();
    right.text.clear();
    return left == right;
}

// How far both texts begin alike, in whole characters.
qsizetype sameCharacters(const QString& left, const QString& right)
{
    const auto end = std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first;
    const qsizetype same = end - left.begin();
    return same > 0 && left[same - 1].isHighSurrogate() ? same - 1 : same;
}

// What `now` adds behind the longest common begin: the number of characters that stay, and the runs behind them.
std::pair<qsizetype, QList<TextRun>> difference(const QList<TextRun>& before, const QList<TextRun>& now)
{
    qsizetype kept = 0;
    qsizetype at = 0;
    while (at < before.size() && at < now.size() && before[at] == now[at]) {
        kept += now[at].text.size();
        ++at;
    }
    QList<TextRun> rest = now.mid(at);
    if (!rest.isEmpty() && at < before.size() && isSameStyle(before[at], rest.front())) {
        const qsizetype same = sameCharacters(before[at].text, rest.front().text);
        kept += same;
        rest.front().text.remove(0, same);
    }
    return { kept, rest };
}

} // namespace

StyledText::StyledText(QObject* parent) : QObject(parent)
{
    connect(this, &StyledText::styleChanged, this, &StyledText::rewrite);
}

void StyledText::setContent(const StyledRuns& content)
{
    const StyledRuns before = std::exchange(m_content, content);
    // A text that comes whole again and again is mostly the same.
    if (m_isComplete && before != m_content) {
        const auto [kept, rest] = difference(before.runs, m_content.runs);
        write(kept, rest);
    }
}

void StyledText::componentComplete()
{
    m_isComplete = true;
    rewrite();
}

void StyledText::rewrite()
{
    if (m_isComplete) {
        write(0, m_content.runs);
    }
}

void StyledText::write(qsizetype kept, const QList<TextRun>& runs)
{
    QTextDocument* document = m_document == nullptr ? nullptr : m_document->textDocument();
    if (document == nullptr) {
        return;
    }
    document->setUndoRedoEnabled(false);
    measure(document->defaultFont());
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.setPosition(static_cast<int>(kept));
    cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    if (kept == 0) {
        QTextBlockFormat format;
        format.setLineHeight(m_lineHeight, QTextBlockFormat::FixedHeight);
        if (m_isLeftToRight) {
            format.setLayoutDirection(Qt::LeftToRight);
        }
        cursor.setBlockFormat(format); // the blocks that follow inherit it
    }
    for (const TextRun& run : runs) {
        cursor.insertText(run.text, formatOf(run));
    }
    cursor.endEditBlock();
    const bool hasRightToLeft = std::any_of(
        m_content.runs.begin(), m_content.runs.end(), [](const TextRun& run) { return TextDirection::hasRightToLeft(run.text); });
    if (hasRightToLeft && !m_isLeftToRight) {
        TextDirection::give(*document, static_cast<int>(kept));
    }
    readLinks();
}

// A link may be of several runs in different styles.
void StyledText::readLinks()
{
    QList<TextLink> links;
    qsizetype at = 0;
    QString before; // the target of the run before
    for (const TextRun& run : std::as_const(m_content.runs)) {
        const qsizetype end = at + run.text.size();
        const auto address = run.link.isEmpty() ? std::nullopt : LinkRules::address(run.link);
        if (address && run.link == before) {
            links.back().end = static_cast<int>(end);
            links.back().text += run.text;
        } else if (address) {
            if (links.size() == linkLimit) {
                break;
            }
            links.append({ static_cast<int>(at), static_cast<int>(end), run.text, LinkRules::shown(*address) });
        }
        before = run.link;
        at = end;
    }
    if (links != m_links) {
        m_links = std::move(links);
        emit linksChanged();
    }
}

void StyledText::measure(const QFont& font)
{
    if (const int drop = lineDrop(font, m_lineHeight); drop != m_drop) {
        m_drop = drop;
        emit dropChanged();
    }
}

QTextCharFormat StyledText::formatOf(const TextRun& run) const
{
    QTextCharFormat format;
    if (run.isStrong) {
        format.setFontWeight(QFont::DemiBold);
    }
    format.setFontItalic(run.isEmphasis);
    format.setFontStrikeOut(run.isStruck);
    if (run.isCode) {
        format.setFontFamilies({ m_fixedFamily });
        format.setProperty(QTextFormat::FontPixelSize, m_fixedSize);
        format.setBackground(m_codeGround);
    }
    if (const QColor color = wordColor(run.word); color.isValid()) {
        format.setForeground(color);
    }
    if (const auto address = LinkRules::address(run.link)) {
        format.setAnchor(true);
        format.setAnchorHref(LinkRules::shown(*address));
        format.setForeground(m_linkColor);
    }
    return format;
}

QColor StyledText::wordColor(TextRun::Word word) const
{
    switch (word) {
    case TextRun::Word::Plain:
        return {};
    case TextRun::Word::Keyword:
        return m_keywordColor;
    case TextRun::Word::Literal:
        return m_literalColor;
    case TextRun::Word::Number:
        return m_numberColor;
    case TextRun::Word::Comment:
        return m_commentColor;
    }
    return {};
}

} // namespace tessarin
