#pragma once

#include <QStringView>

class QTextCursor;
class QTextDocument;

namespace tessarin
{

// A view of Qt Quick lays out all paragraphs of a document in the direction of the first one. These give each paragraph its own.
namespace TextDirection
{

// Whether there is a letter that is read from right to left.
[[nodiscard]] bool hasRightToLeft(QStringView text);
// The direction that the first letter of the text tells; LayoutDirectionAuto without one.
[[nodiscard]] Qt::LayoutDirection of(QStringView text);

// Gives each paragraph from that position on its direction. A change joins the last step that can be undone, so that it is none of its own.
void give(QTextDocument& document, int from);

} // namespace TextDirection

} // namespace tessarin
