#pragma once

#include <QFont>
#include <QFontMetricsF>

namespace tessarin
{

// How far a text stands below the middle of its lines, in whole pixels. Qt puts the base line of a line of fixed height at four fifths of
// it, whatever the font.
[[nodiscard]] inline int lineDrop(const QFont& font, int lineHeight)
{
    const QFontMetricsF metrics(font);
    const qreal middle = (lineHeight - metrics.ascent() - metrics.descent()) / 2 + metrics.ascent();
    return qRound(lineHeight * 4 / 5.0 - middle);
}

} // namespace tessarin
