#include "Views/BlockCollector.h"

#include "Views/CodeHighlighter.h"
#include "Views/MarkdownEntities.h"

#include <utility>

namespace tessarin
{

namespace
{

QString decoded(const MD_CHAR* text, MD_SIZE size)
{
    return QString::fromUtf8(text, static_cast<qsizetype>(size));
}

QString attributeText(const MD_ATTRIBUTE& attribute)
{
    QString text;
    for (std::size_t i = 0; attribute.text != nullptr && attribute.substr_offsets[i] < attribute.size; ++i) {
        const MD_OFFSET begin = attribute.substr_offsets[i];
        const QString part = decoded(attribute.text + begin, attribute.substr_offsets[i + 1] - begin);
        text += attribute.substr_types[i] == MD_TEXT_ENTITY ? entityText(part) : part;
    }
    return text;
}

} // namespace

void BlockCollector::begin(BlockKind::Value kind)
{
    finish();
    m_block = TextBlock();
    m_block.kind = kind;
    m_block.listDepth = static_cast<int>(m_lists.size());
    m_block.isItem = !m_lists.empty();
    m_block.quoteDepth = m_quoteDepth;
    m_block.marker = std::exchange(m_marker, QString());
    m_isOpen = true;
}

void BlockCollector::finish()
{
    if (!m_isOpen) {
        return;
    }
    m_isOpen = false;
    if (m_block.kind == BlockKind::Code) {
        if (m_code.endsWith(QLatin1Char('\n'))) {
            m_code.chop(1);
        }
        m_block.content = highlightedCode(std::exchange(m_code, QString()), m_block.language);
    }
    m_blocks.append(std::move(m_block));
}

void BlockCollector::beginItem(const MD_BLOCK_LI_DETAIL& detail)
{
    finish();
    List& list = m_lists.back();
    if (detail.is_task != 0) {
        m_marker = detail.task_mark == ' ' ? QStringLiteral("☐") : QStringLiteral("☑");
    } else if (list.isOrdered) {
        m_marker = QString::number(list.next) + QLatin1Char(list.delimiter);
    } else {
        m_marker = QStringLiteral("•");
    }
    ++list.next;
}

void BlockCollector::enterBlock(MD_BLOCKTYPE type, void* detail)
{
    switch (type) {
    case MD_BLOCK_QUOTE:
        finish();
        ++m_quoteDepth;
        break;
    case MD_BLOCK_UL:
        finish();
        m_lists.push_back({});
        break;
    case MD_BLOCK_OL: {
        finish();
        const auto& list = *static_cast<MD_BLOCK_OL_DETAIL*>(detail);
        m_lists.push_back({ true, list.start, list.mark_delimiter });
        break;
    }
    case MD_BLOCK_LI:
        beginItem(*static_cast<MD_BLOCK_LI_DETAIL*>(detail));
        break;
    case MD_BLOCK_HR:
        begin(BlockKind::Rule);
        finish();
        break;
    case MD_BLOCK_H:
        begin(BlockKind::Heading);
        m_block.level = static_cast<int>(static_cast<MD_BLOCK_H_DETAIL*>(detail)->level);
        break;
    case MD_BLOCK_CODE:
        begin(BlockKind::Code);
        m_block.language = attributeText(static_cast<MD_BLOCK_CODE_DETAIL*>(detail)->lang);
        break;
    case MD_BLOCK_TABLE:
        begin(BlockKind::Table);
        m_block.table.columns = static_cast<int>(static_cast<MD_BLOCK_TABLE_DETAIL*>(detail)->col_count);
        break;
    case MD_BLOCK_TH:
    case MD_BLOCK_TD:
        beginCell(static_cast<MD_BLOCK_TD_DETAIL*>(detail)->align);
        break;
    case MD_BLOCK_P:
        begin(BlockKind::Paragraph);
        break;
    case MD_BLOCK_DOC:
    case MD_BLOCK_HTML:
    case MD_BLOCK_THEAD:
    case MD_BLOCK_TBODY:
    case MD_BLOCK_TR:
        break;
    }
}

void BlockCollector::beginCell(MD_ALIGN align)
{
    m_cell = StyledRuns();
    m_isInCell = true;
    if (m_block.table.alignments.size() < m_block.table.columns) {
        m_block.table.alignments.append(align == MD_ALIGN_RIGHT ? Qt::AlignRight
                : align == MD_ALIGN_CENTER                      ? Qt::AlignHCenter
                : align == MD_ALIGN_LEFT                        ? Qt::AlignLeft
                                                                : Qt::AlignmentFlag());
    }
}

void BlockCollector::leaveBlock(MD_BLOCKTYPE type)
{
    switch (type) {
    case MD_BLOCK_QUOTE:
        finish();
        --m_quoteDepth;
        break;
    case MD_BLOCK_UL:
    case MD_BLOCK_OL:
        finish();
        m_lists.pop_back();
        break;
    case MD_BLOCK_LI:
        if (!m_marker.isEmpty()) {
            begin(BlockKind::Paragraph); // an item without content still has its mark
        }
        finish();
        break;
    case MD_BLOCK_TH:
    case MD_BLOCK_TD:
        m_block.table.cells.append(std::exchange(m_cell, StyledRuns()));
        m_isInCell = false;
        break;
    case MD_BLOCK_H:
    case MD_BLOCK_CODE:
    case MD_BLOCK_P:
    case MD_BLOCK_TABLE:
    case MD_BLOCK_DOC:
        finish();
        break;
    case MD_BLOCK_HR:
    case MD_BLOCK_HTML:
    case MD_BLOCK_THEAD:
    case MD_BLOCK_TBODY:
    case MD_BLOCK_TR:
        break;
    }
}

void BlockCollector::enterSpan(MD_SPANTYPE type, void* detail)
{
    switch (type) {
    case MD_SPAN_EM:
        m_style.isEmphasis = ++m_emphasisDepth > 0;
        break;
    case MD_SPAN_STRONG:
        m_style.isStrong = ++m_strongDepth > 0;
        break;
    case MD_SPAN_DEL:
        m_style.isStruck = ++m_struckDepth > 0;
        break;
    case MD_SPAN_CODE:
        m_style.isCode = true;
        break;
    case MD_SPAN_A:
    case MD_SPAN_IMG: {
        const MD_ATTRIBUTE& target
            = type == MD_SPAN_A ? static_cast<MD_SPAN_A_DETAIL*>(detail)->href : static_cast<MD_SPAN_IMG_DETAIL*>(detail)->src;
        m_links.push_back(m_style.link);
        m_style.link = m_style.link.isEmpty() ? attributeText(target) : m_style.link;
        break;
    }
    case MD_SPAN_LATEXMATH:
    case MD_SPAN_LATEXMATH_DISPLAY:
    case MD_SPAN_WIKILINK:
    case MD_SPAN_U:
        break;
    }
}

void BlockCollector::leaveSpan(MD_SPANTYPE type)
{
    switch (type) {
    case MD_SPAN_EM:
        m_style.isEmphasis = --m_emphasisDepth > 0;
        break;
    case MD_SPAN_STRONG:
        m_style.isStrong = --m_strongDepth > 0;
        break;
    case MD_SPAN_DEL:
        m_style.isStruck = --m_struckDepth > 0;
        break;
    case MD_SPAN_CODE:
        m_style.isCode = false;
        break;
    case MD_SPAN_A:
    case MD_SPAN_IMG:
        m_style.link = m_links.back();
        m_links.pop_back();
        break;
    case MD_SPAN_LATEXMATH:
    case MD_SPAN_LATEXMATH_DISPLAY:
    case MD_SPAN_WIKILINK:
    case MD_SPAN_U:
        break;
    }
}

void BlockCollector::addText(MD_TEXTTYPE type, const MD_CHAR* text, MD_SIZE size)
{
    switch (type) {
    case MD_TEXT_NULLCHAR:
        addRun(QString(QChar(QChar::ReplacementCharacter)));
        break;
    case MD_TEXT_BR:
        addRun(QString(QChar(QChar::LineSeparator)));
        break;
    case MD_TEXT_SOFTBR:
        addRun(QStringLiteral(" "));
        break;
    case MD_TEXT_ENTITY:
        addRun(entityText(decoded(text, size)));
        break;
    case MD_TEXT_NORMAL:
    case MD_TEXT_CODE:
    case MD_TEXT_HTML:
    case MD_TEXT_LATEXMATH:
        addRun(decoded(text, size));
        break;
    }
}

void BlockCollector::addRun(QString text)
{
    if (m_isOpen && m_block.kind == BlockKind::Code) {
        m_code += text;
        return;
    }
    if (!m_isOpen) {
        begin(BlockKind::Paragraph); // the text of a tight list item has no paragraph of its own
    }
    QList<TextRun>& runs = m_isInCell ? m_cell.runs : m_block.content.runs;
    TextRun run = m_style;
    if (!runs.isEmpty()) {
        run.text = runs.back().text;
        if (run == runs.back()) {
            runs.back().text += text;
            return;
        }
    }
    run.text = std::move(text);
    runs.append(std::move(run));
}

} // namespace tessarin
