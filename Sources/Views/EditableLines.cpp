#include "Views/EditableLines.h"

#include "Views/LineDrop.h"
#include "Views/TextDirection.h"

#include <QTextBlock>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <QTextDocument>

namespace tessarin
{

void EditableLines::renew()
{
    QTextDocument* document = m_document == nullptr ? nullptr : m_document->textDocument();
    if (document == nullptr) {
        return;
    }
    if (document->begin().blockFormat().lineHeightType() != QTextBlockFormat::FixedHeight) {
        giveHeight(document);
    }
    if (!document->isRedoAvailable()) { // else a step is being undone, and a new one would forget it
        makeParagraphs(document);
        TextDirection::give(*document, 0);
    }
}

// A line break within a paragraph, which Shift-Return makes, would keep both lines in one direction.
void EditableLines::makeParagraphs(QTextDocument* document)
{
    QTextCursor separator = document->find(QString(QChar(QChar::LineSeparator)));
    while (!separator.isNull()) {
        separator.joinPreviousEditBlock();
        separator.removeSelectedText();
        separator.insertBlock();
        separator.endEditBlock();
        separator = document->find(QString(QChar(QChar::LineSeparator)), separator);
    }
}

void EditableLines::giveHeight(QTextDocument* document)
{
    document->setUndoRedoEnabled(false);
    QTextCursor cursor(document);
    cursor.select(QTextCursor::Document);
    QTextBlockFormat format;
    format.setLineHeight(m_lineHeight, QTextBlockFormat::FixedHeight);
    cursor.mergeBlockFormat(format);
    document->setUndoRedoEnabled(true);
    if (const int drop = lineDrop(document->defaultFont(), m_lineHeight); drop != m_drop) {
        m_drop = drop;
        emit dropChanged();
    }
}

} // namespace tessarin
