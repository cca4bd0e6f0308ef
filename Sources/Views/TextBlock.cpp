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

} // namespace tessarin
