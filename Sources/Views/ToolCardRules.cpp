#include "Views/ToolCardRules.h"

#include "Platform/Text.h"

namespace tessarin::ToolCardRules
{

namespace
{

// Each word begins with a capital and goes on in small letters.
QString capitalized(QString text)
{
    bool begins = true;
    QString capital;
    for (const char32_t character : text.toUcs4()) {
        const auto code = static_cast<char32_t>(begins ? QChar::toTitleCase(character) : QChar::toLower(character));
        capital += QString::fromUcs4(&code, 1);
        begins = QChar::isSpace(character);
    }
    return capital;
}

} // namespace

QString title(const std::optional<std::string>& title)
{
    return title ? QString::fromStdString(*title) : QStringLiteral("Tool");
}

QString statusWord(const std::optional<std::string>& status)
{
    QString word = QString::fromStdString(status.value_or("pending"));
    word.replace(QLatin1Char('_'), QLatin1Char(' '));
    return capitalized(std::move(word));
}

QString symbol(const std::optional<std::string>& title)
{
    const std::string words = lowerCased(title.value_or(""));
    if (contains(words, "terminal") || contains(words, "command")) {
        return QStringLiteral("terminal");
    }
    if (contains(words, "read") || contains(words, "file")) {
        return QStringLiteral("doc.text");
    }
    if (contains(words, "search")) {
        return QStringLiteral("magnifyingglass");
    }
    return QStringLiteral("wrench.and.screwdriver");
}

Tint::Value tint(const std::optional<std::string>& status)
{
    if (status == "completed") {
        return Tint::Green;
    }
    return status == "failed" ? Tint::Red : Tint::Orange;
}

} // namespace tessarin::ToolCardRules
