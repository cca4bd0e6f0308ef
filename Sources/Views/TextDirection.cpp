#include "Views/TextDirection.h"

#include <QTextBlock>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>

namespace tessarin::TextDirection
{

namespace
{

bool isRightToLeft(QChar character)
{
    constexpr char16_t firstHebrew = 0x0590; // nothing below is read from right to left
    return character.unicode() >= firstHebrew && (character.direction() == QChar::DirR || character.direction() == QChar::DirAL);
}

} // namespace

bool hasRightToLeft(QStringView text)
{
    return std::any_of(text.begin(), text.end(), isRightToLeft);
}

Qt::LayoutDirection of(QStringView text)
{
    for (const QChar character : text) {
        if (character.direction() == QChar::DirL) {
            return Qt::LeftToRight;
        }
        if (isRightToLeft(character)) {
            return Qt::RightToLeft;
        }
    }
    return Qt::LayoutDirectionAuto;
}

void give(QTextDocument& document, int from)
{
    const bool isFirstRightToLeft = of(document.begin().text()) == Qt::RightToLeft;
    QTextCursor cursor(&document);
    bool isEditing = false;
    for (QTextBlock block = document.findBlock(from); block.isValid(); block = block.next()) {
        const Qt::LayoutDirection now = block.blockFormat().layoutDirection();
        const Qt::LayoutDirection wanted = of(block.text());
        const bool isAsWanted = wanted == now || wanted == Qt::LayoutDirectionAuto
            || (wanted == Qt::LeftToRight && now == Qt::LayoutDirectionAuto && !isFirstRightToLeft);
        if (isAsWanted) {
            continue;
        }
        if (!isEditing) {
            cursor.joinPreviousEditBlock();
            isEditing = true;
        }
        QTextBlockFormat format;
        format.setLayoutDirection(wanted);
        cursor.setPosition(block.position());
        cursor.mergeBlockFormat(format);
    }
    if (isEditing) {
        cursor.endEditBlock();
    }
}

} // namespace tessarin::TextDirection
