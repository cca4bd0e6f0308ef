#include "Views/ImagineRules.h"

#include "Platform/Text.h"

namespace tessarin::ImagineRules
{

QString countLabel(int count)
{
    return QStringLiteral("%1 creation%2").arg(count).arg(count == 1 ? QLatin1String() : QLatin1String("s"));
}

ImagineFormat::Value format(ImagineKind kind)
{
    switch (kind) {
    case ImagineKind::image:
        return ImagineFormat::Image;
    case ImagineKind::video:
        return ImagineFormat::Video;
    }
    return ImagineFormat::Image;
}

ImagineKind kind(ImagineFormat::Value format)
{
    return format == ImagineFormat::Video ? ImagineKind::video : ImagineKind::image;
}

QString excerpt(const QString& prompt)
{
    constexpr qsizetype limit = 1000;
    if (prompt.size() <= limit) {
        return prompt;
    }
    const qsizetype end = prompt[limit].isLowSurrogate() ? limit - 1 : limit;
    return prompt.left(end) + QChar(0x2026);
}

std::optional<std::string> promptToGenerate(std::string_view draft, const ConnectionState& state)
{
    const std::string_view prompt = trimmed(draft);
    if (prompt.empty() || state.kind() == ConnectionState::Kind::working) {
        return std::nullopt;
    }
    return std::string(prompt);
}

} // namespace tessarin::ImagineRules
