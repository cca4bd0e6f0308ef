#include "Views/TextBlock.h"

namespace tessarin
{

QString StyledRuns::plainText() const
{
    QString text;
    for (const TextRun& run : runs) {
        text += run.text;
    }
    return text;
}

StyledRuns StyledRuns::fromText(QString text)
{
    StyledRuns content;
    if (!text.isEmpty()) {
        TextRun run;
        run.text = std::move(text);
        content.runs.append(std::move(run));
    }
    return content;
}

QString TextBlock::lead() const
{
    if (marker.isEmpty()) {
        return {};
    }
    const QString mark = marker == QStringLiteral("•") ? QStringLiteral("-")
        : marker == QStringLiteral("☐")                ? QStringLiteral("- [ ]")
        : marker == QStringLiteral("☑")                ? QStringLiteral("- [x]")
                                                       : marker;
    return QString(2 * (listDepth - 1), QLatin1Char(' ')) + mark + QLatin1Char(' ');
}

bool TextBlock::isRightToLeft() const
{
    return kind != BlockKind::Code && kind != BlockKind::Table && content.plainText().isRightToLeft();
}

} // namespace tessarin
