#include "Views/TextPages.h"

#include "Views/EntryListModel.h"
#include "Views/MarkdownParser.h"

#include <QQmlEngine>

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

namespace tessarin
{

namespace
{

TextSegments segmentsFor(TextPages::Format format)
{
    return TextSegments(format == TextPages::Markdown ? TextSegments::Format::markdown : TextSegments::Format::plain);
}

} // namespace

TextPages::TextPages(QObject* parent) : QAbstractListModel(parent), m_segments(segmentsFor(Markdown)) { }

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

void TextPages::placePages()
{
    const auto& segments = m_segments.segments();
    std::vector<Page> pages;
    std::size_t begin = m_placedPages > 0 ? m_pages[m_placedPages - 1].begin : 0;
    for (; m_placedSegments < segments.size(); ++m_placedSegments) {
        if (m_placedPages + pages.size() == 0 || segments[m_placedSegments].begin - begin >= pageByteLimit) {
            begin = segments[m_placedSegments].begin;
            pages.push_back({ begin, m_placedSegments, nullptr });
        }
    }
    takePages(std::exchange(m_placedPages, m_placedPages + pages.size()), std::move(pages));
}

// Rows of pages that are there already are used again, and so are their blocks, so that only differences are told.
void TextPages::takePages(std::size_t first, std::vector<Page>&& pages)
{
    const std::size_t before = m_pages.size();
    const std::size_t count = first + pages.size();
    for (std::size_t i = first; i < std::min(before, count); ++i) {
        m_pages[i].begin = pages[i - first].begin;
        m_pages[i].firstSegment = pages[i - first].firstSegment;
    }
    if (count > before) {
        beginInsertRows({}, static_cast<int>(before), static_cast<int>(count) - 1);
        m_pages.insert(
            m_pages.end(), std::move_iterator(pages.end() - static_cast<std::ptrdiff_t>(count - before)), std::move_iterator(pages.end()));
        endInsertRows();
    } else if (count < before) {
        beginRemoveRows({}, static_cast<int>(count), static_cast<int>(before) - 1);
        m_pages.resize(count);
        endRemoveRows();
    }
    if (count != before) {
        emit countChanged();
    }
}

BlockListModel* TextPages::blocksOf(std::size_t page) const
{
    if (page >= m_pages.size()) {
        return nullptr;
    }
    std::unique_ptr<BlockListModel>& blocks = m_pages[page].blocks;
    if (!blocks) {
        blocks = std::make_unique<BlockListModel>(std::nullopt);
        QQmlEngine::setObjectOwnership(blocks.get(), QQmlEngine::CppOwnership);
        m_pages[page].settledSegments = 0;
        m_pages[page].settledBlocks = 0;
        fill(page);
    }
    return blocks.get();
}

// Parses what is not settled.
void TextPages::fill(std::size_t at) const
{
    Page& page = m_pages[at];
    const std::size_t count = m_segments.segments().size();
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
    const auto& segments = m_segments.segments();
    const std::string_view whole = text();
    const std::size_t begin = std::min(segments[segment].begin, whole.size());
    const std::size_t end = segment + 1 < segments.size() ? std::min(segments[segment + 1].begin, whole.size()) : whole.size();
    std::string_view part = whole.substr(begin, end - begin);
    if (m_format == Plain) {
        if (part.ends_with('\n')) {
            part.remove_suffix(1); // what follows begins on a line of its own
        }
        TextBlock block = plainBlock(part);
        block.isContinued = begin > 0 && whole[begin - 1] != '\n';
        return part.empty() ? QList<TextBlock>() : QList<TextBlock>{ std::move(block) };
    }
    const std::string& opening = segments[segment].fenceOpening;
    if (opening.empty() && m_segments.definitions().empty()) {
        return parseMarkdown(part);
    }
    QList<TextBlock> blocks = parseMarkdown(m_segments.definitions() + "\n" + opening + std::string(part));
    if (!opening.empty() && !blocks.isEmpty()) {
        blocks.front().isContinued = true;
    }
    return blocks;
}

BlockListModel* TextPages::takeBlocks(int page, QObject* taker)
{
    const auto at = static_cast<std::size_t>(page);
    BlockListModel* blocks = page < 0 ? nullptr : blocksOf(at);
    if (blocks != nullptr) {
        ++m_pages[at].takers;
        connect(taker, &QObject::destroyed, this, [this, at, blocks] { giveBlocksBack(at, blocks); });
    }
    return blocks;
}

// What shows them may not be gone as a whole, so they go with the next turn of the loop. The page may have become another one.
void TextPages::giveBlocksBack(std::size_t page, const BlockListModel* blocks)
{
    if (page < m_pages.size() && m_pages[page].blocks.get() == blocks && --m_pages[page].takers == 0) {
        m_pages[page].blocks.release()->deleteLater();
    }
}

QList<TextBlock> TextPages::parsedPage(std::size_t page) const
{
    const std::size_t end = page + 1 < m_pages.size() ? m_pages[page + 1].firstSegment : m_segments.segments().size();
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
            code += (isFirst ? QString() : QStringLiteral("\n")) + blocks[i].content.plainText();
            isFirst = false;
        }
    }
    return code;
}

int TextPages::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_pages.size());
}

QVariant TextPages::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid) || role != BlocksRole) {
        return {};
    }
    return QVariant::fromValue(blocksOf(static_cast<std::size_t>(index.row())));
}

QHash<int, QByteArray> TextPages::roleNames() const
{
    return { { BlocksRole, "blocks" } };
}

} // namespace tessarin
