#include "Views/TextPages.h"

#include "Views/EntryListModel.h"
#include "Views/MarkdownParser.h"

#include <functional>
#include <string>

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
    m_segments.scan(text);
    if (m_segments.definitions().size() != m_definitionBytes) {
        m_definitionBytes = m_segments.definitions().size();
        m_settledSegments = 0; // a new definition may make links of what was text
        m_openPage = 0;
    }
    layOut(text);
}

void TextPages::restart()
{
    m_segments = segmentsFor(m_format);
    m_definitionBytes = 0;
    m_settledSegments = 0;
    m_openPage = 0;
}

// Parses what is not settled. Rows of pages and blocks that are there already are used again, so that only differences are told.
void TextPages::layOut(std::string_view text)
{
    const auto& segments = m_segments.segments();
    if (m_settledSegments == 0) {
        beginPage(0);
    }
    QList<TextBlock> blocks; // of the open page, behind the settled ones
    for (std::size_t i = m_settledSegments; i < segments.size(); ++i) {
        const bool isOpen = i + 1 == segments.size();
        if (segments[i].begin - m_pages[m_openPage].begin >= pageByteLimit) {
            m_pages[m_openPage].blocks->replaceFrom(m_pages[m_openPage].settledBlocks, std::exchange(blocks, {}));
            ++m_openPage;
            beginPage(segments[i].begin);
        }
        Page& page = m_pages[m_openPage];
        const QList<TextBlock> added = parsed(i, text);
        if (isOpen) {
            page.blocks->replaceFrom(page.settledBlocks, blocks + added);
            page.settledBlocks += static_cast<int>(blocks.size());
        } else {
            blocks += added;
        }
    }
    m_settledSegments = segments.size() - 1;
    dropPagesAfter(m_openPage + 1);
}

QList<TextBlock> TextPages::parsed(std::size_t segment, std::string_view text) const
{
    const auto& segments = m_segments.segments();
    const bool isOpen = segment + 1 == segments.size();
    const std::size_t begin = segments[segment].begin;
    std::string_view part = text.substr(begin, isOpen ? std::string_view::npos : segments[segment + 1].begin - begin);
    if (m_format == Plain) {
        if (part.ends_with('\n')) {
            part.remove_suffix(1); // what follows begins on a line of its own
        }
        TextBlock block = plainBlock(part);
        block.isContinued = begin > 0 && text[begin - 1] != '\n';
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

void TextPages::beginPage(std::size_t begin)
{
    std::optional<TextBlock> before;
    if (m_openPage > 0 && !m_pages[m_openPage - 1].blocks->blocks().isEmpty()) {
        before = m_pages[m_openPage - 1].blocks->blocks().back();
    }
    if (m_openPage < m_pages.size()) {
        m_pages[m_openPage].blocks->setBefore(std::move(before));
        m_pages[m_openPage].begin = begin;
        m_pages[m_openPage].settledBlocks = 0;
        return;
    }
    const int row = static_cast<int>(m_pages.size());
    beginInsertRows({}, row, row);
    m_pages.push_back({ std::make_unique<BlockListModel>(std::move(before)), begin, 0 });
    endInsertRows();
}

void TextPages::dropPagesAfter(std::size_t count)
{
    if (m_pages.size() > count) {
        beginRemoveRows({}, static_cast<int>(count), static_cast<int>(m_pages.size()) - 1);
        m_pages.resize(count);
        endRemoveRows();
    }
}

QString TextPages::code(int page, int block) const
{
    QString code;
    bool isFirst = true;
    for (auto at = static_cast<std::size_t>(std::max(page, 0)); at < m_pages.size(); ++at) {
        const QList<TextBlock>& blocks = m_pages[at].blocks->blocks();
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
    return QVariant::fromValue(m_pages[static_cast<std::size_t>(index.row())].blocks.get());
}

QHash<int, QByteArray> TextPages::roleNames() const
{
    return { { BlocksRole, "blocks" } };
}

} // namespace tessarin
