#include "Views/TextPages.h"

#include "Views/EntryListModel.h"
#include "Views/MarkdownParser.h"

#include <QQmlEngine>

#include <algorithm>
#include <functional>
#include <utility>

namespace tessarin
{

namespace
{

TextSegments segmentsFor(TextPages::Format format)
{
    return TextSegments(format == TextPages::Markdown ? TextSegments::Format::markdown : TextSegments::Format::plain);
}

QList<TextBlock> plainBlocks(std::string_view part)
{
    if (part.ends_with('\n')) {
        part.remove_suffix(1); // what follows begins on a line of its own
    }
    return part.empty() ? QList<TextBlock>() : QList<TextBlock>{ plainBlock(part) };
}

// Takes the one character away that was put in front of the first paragraph.
void takeGuard(QList<TextBlock>& blocks)
{
    if (blocks.isEmpty() || blocks.front().content.runs.isEmpty()) {
        return;
    }
    QList<TextRun>& runs = blocks.front().content.runs;
    runs.front().text.remove(0, 1);
    if (runs.front().text.isEmpty()) {
        runs.removeFirst();
    }
    if (runs.isEmpty()) {
        blocks.removeFirst();
    }
}

} // namespace

TextPages::TextPages(QObject* parent) : QObject(parent), m_segments(segmentsFor(Markdown)) { }

TextPages::TextPages(Format format) : m_format(format), m_segments(segmentsFor(format)) { }

TextPages::~TextPages() = default;

void TextPages::componentComplete()
{
    m_segments = segmentsFor(m_format);
    connect(m_entries, &EntryListModel::entryTextChanged, this, &TextPages::readEntry);
    readEntry(m_row, false);
}

void TextPages::readEntry(int row, bool hasOnlyGrown)
{
    if (row != m_row || m_entries.isNull()) {
        return;
    }
    const std::string_view text = m_entries->entryText(row);
    hasOnlyGrown ? growText(text) : setText(text);
}

void TextPages::setText(std::string_view text)
{
    const std::hash<std::string_view> hash;
    const bool hasGrown = m_textHash && text.size() >= m_textSize && hash(text.substr(0, m_textSize)) == *m_textHash;
    if (!hasGrown) {
        restart();
    }
    growText(text);
    m_textHash = hash(text);
}

void TextPages::growText(std::string_view text)
{
    m_textSize = text.size();
    m_textHash.reset();
    if (m_entries.isNull()) {
        m_ownText = text;
    }
    m_segments.scan(text);
    if (m_segments.definitions().size() != m_definitionBytes) {
        m_definitionBytes = m_segments.definitions().size();
        unsettle(); // a new definition may make links of what was text
    }
    placePages();
    for (std::size_t page = m_firstOpenPage; page < m_pages.size(); ++page) {
        if (m_pages[page].blocks) {
            fill(page);
        }
    }
    m_firstOpenPage = m_pages.size() - 1;
}

void TextPages::restart()
{
    m_segments = segmentsFor(m_format);
    m_definitionBytes = 0;
    m_placedSegments = 0;
    m_placedPages = 0;
    unsettle();
}

void TextPages::unsettle()
{
    m_firstOpenPage = 0;
    for (Page& page : m_pages) {
        page.settledSegments = 0;
        page.settledBlocks = 0;
    }
}

// Pages that are there already are used again, and so are their blocks, so that only differences are told.
void TextPages::placePages()
{
    const std::vector<std::size_t>& begins = m_segments.begins();
    const std::size_t before = m_pages.size();
    for (; m_placedSegments < begins.size(); ++m_placedSegments) {
        if (m_placedPages > 0 && begins[m_placedSegments] - begins[m_pages[m_placedPages - 1].firstSegment] < pageByteLimit) {
            continue;
        }
        if (m_placedPages == m_pages.size()) {
            m_pages.emplace_back();
        }
        m_pages[m_placedPages++].firstSegment = m_placedSegments;
    }
    m_pages.resize(m_placedPages);
    if (m_pages.size() != before) {
        emit countChanged();
    }
}

// Parses what is not settled.
void TextPages::fill(std::size_t at)
{
    Page& page = m_pages[at];
    const std::size_t count = m_segments.begins().size();
    const std::size_t end = at + 1 < m_pages.size() ? m_pages[at + 1].firstSegment : count;
    if (page.settledSegments == 0) {
        page.blocks->setBefore(blockBefore(at));
    }
    QList<TextBlock> blocks; // behind the settled ones
    qsizetype settled = 0;
    for (std::size_t segment = page.firstSegment + page.settledSegments; segment < end; ++segment) {
        blocks += parsed(segment);
        if (segment + 1 < count) {
            ++page.settledSegments;
            settled = blocks.size();
        }
    }
    page.blocks->replaceFrom(page.settledBlocks, blocks);
    page.settledBlocks += static_cast<int>(settled);
}

// The last block of the pages before this one.
std::optional<TextBlock> TextPages::blockBefore(std::size_t page) const
{
    for (std::size_t segment = m_pages[page].firstSegment; segment-- > 0;) {
        if (const QList<TextBlock> blocks = parsed(segment); !blocks.isEmpty()) {
            return blocks.back();
        }
    }
    return std::nullopt;
}

std::string_view TextPages::text() const
{
    return m_entries.isNull() ? std::string_view(m_ownText) : m_entries->entryText(m_row);
}

// The text may have changed since it was read, which is told soon.
QList<TextBlock> TextPages::parsed(std::size_t segment) const
{
    const std::vector<std::size_t>& begins = m_segments.begins();
    const std::string_view whole = text();
    const std::size_t begin = std::min(begins[segment], whole.size());
    const std::size_t end = segment + 1 < begins.size() ? std::min(begins[segment + 1], whole.size()) : whole.size();
    const std::string_view part = whole.substr(begin, end - begin);
    const bool isInLine = begin > 0 && whole[begin - 1] != '\n';
    QList<TextBlock> blocks = m_format == Plain ? plainBlocks(part) : markdownBlocks(segment, part, isInLine);
    if (!blocks.isEmpty() && isInLine) {
        TextBlock& first = blocks.front();
        first.isContinued = true;
        // The blank where a paragraph was cut is not part of its blocks.
        first.joint = m_format == Markdown && first.kind != BlockKind::Code && whole[begin - 1] == ' ' ? QStringLiteral(" ") : QString();
        first.isEndless = true;
    }
    if (!blocks.isEmpty() && end < whole.size() && whole[end - 1] != '\n') {
        blocks.back().isEndless = true;
    }
    return blocks;
}

QList<TextBlock> TextPages::markdownBlocks(std::size_t segment, std::string_view part, bool isInLine) const
{
    const std::string opening(m_segments.fenceOpening(segment));
    if (opening.empty() && !isInLine && m_segments.definitions().empty()) {
        return parseMarkdown(part);
    }
    // What goes on in the midst of a line begins no item and no heading, whatever it looks like.
    const std::string_view guard = opening.empty() && isInLine ? "\\!" : "";
    QList<TextBlock> blocks = parseMarkdown(m_segments.definitions() + "\n" + opening + std::string(guard) + std::string(part));
    if (!guard.empty()) {
        takeGuard(blocks);
    } else if (!opening.empty() && !blocks.isEmpty()) {
        TextBlock& first = blocks.front();
        first.isContinued = true;
        first.joint = QStringLiteral("\n");
        const std::size_t mark = part.find_first_not_of(" \t");
        if (mark != std::string_view::npos && part[mark] == opening.front() && first.content.plainText().isEmpty()) {
            blocks.removeFirst(); // the fence is closed at once
        }
    }
    return blocks;
}

BlockListModel* TextPages::takeBlocks(int page, QObject* taker)
{
    if (page < 0 || page >= count()) {
        return nullptr;
    }
    const auto at = static_cast<std::size_t>(page);
    if (!m_pages[at].blocks) {
        makeBlocks(at);
    }
    ++m_pages[at].takers;
    const QPointer<BlockListModel> blocks = m_pages[at].blocks.get();
    connect(taker, &QObject::destroyed, this, [this, at, blocks] { giveBlocksBack(at, blocks); });
    return blocks;
}

void TextPages::makeBlocks(std::size_t at)
{
    Page& page = m_pages[at];
    page.blocks = std::make_unique<BlockListModel>(std::nullopt);
    QQmlEngine::setObjectOwnership(page.blocks.get(), QQmlEngine::CppOwnership);
    page.takers = 0;
    page.settledSegments = 0;
    page.settledBlocks = 0;
    fill(at);
}

// What shows them may not be gone as a whole, so they go with the next turn of the loop. The page may have become another one.
void TextPages::giveBlocksBack(std::size_t page, const BlockListModel* blocks)
{
    if (blocks != nullptr && page < m_pages.size() && m_pages[page].blocks.get() == blocks && --m_pages[page].takers == 0) {
        m_pages[page].blocks.release()->deleteLater();
    }
}

QList<TextBlock> TextPages::parsedPage(std::size_t page) const
{
    const std::size_t end = page + 1 < m_pages.size() ? m_pages[page + 1].firstSegment : m_segments.begins().size();
    QList<TextBlock> blocks;
    for (std::size_t segment = m_pages[page].firstSegment; segment < end; ++segment) {
        blocks += parsed(segment);
    }
    return blocks;
}

QString TextPages::code(int page, int block) const
{
    QString code;
    bool isFirst = true;
    for (auto at = static_cast<std::size_t>(std::max(page, 0)); at < m_pages.size(); ++at) {
        const BlockListModel* kept = m_pages[at].blocks.get();
        const QList<TextBlock> blocks = kept != nullptr ? kept->blocks() : parsedPage(at);
        for (qsizetype i = isFirst ? block : 0; i >= 0 && i < blocks.size(); ++i) {
            if (!isFirst && !blocks[i].isContinued) {
                return code;
            }
            code += (isFirst ? QString() : blocks[i].joint) + blocks[i].content.plainText();
            isFirst = false;
        }
    }
    return code;
}

} // namespace tessarin
