#include "Views/EditableLines.h"

#include "Views/LineDrop.h"

#include <QTextBlock>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <QTextDocument>

namespace tessarin
{

void EditableLines::renew()
{
    QTextDocument* document = m_document == nullptr ? nullptr : m_document->textDocument();
    if (document == nullptr || document->begin().blockFormat().lineHeightType() == QTextBlockFormat::FixedHeight) {
        return;
    }
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
