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
    if (document == nullptr || document->isRedoAvailable()) {
        return; // a step is being undone, and a new one would forget it
    }
    const bool isFresh = !document->isUndoAvailable();
    if (isFresh) {
        document->setUndoRedoEnabled(false);
    }
    makeParagraphs(document);
    giveHeight(document);
    TextDirection::give(*document, 0);
    if (isFresh) {
        document->setUndoRedoEnabled(true);
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

// New lines inherit it from the line before, but not what is pasted into an empty text.
void EditableLines::giveHeight(QTextDocument* document)
{
    QTextBlock line = document->begin();
    while (line.isValid() && line.blockFormat().lineHeightType() == QTextBlockFormat::FixedHeight) {
        line = line.next();
    }
    if (line.isValid()) {
        QTextBlockFormat format;
        format.setLineHeight(m_lineHeight, QTextBlockFormat::FixedHeight);
        QTextCursor cursor(document);
        cursor.joinPreviousEditBlock();
        cursor.select(QTextCursor::Document);
        cursor.mergeBlockFormat(format);
        cursor.endEditBlock();
    }
    if (const int drop = lineDrop(document->defaultFont(), m_lineHeight); drop != m_drop) {
        m_drop = drop;
        emit dropChanged();
    }
}

} // namespace tessarin
