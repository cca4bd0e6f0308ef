#include "Platform/MachineInfo.h"

#include "Platform/Text.h"

namespace tessarin
{

namespace
{

// What a shell makes of the word after the "=". In double quotes a backslash takes its meaning only from "$", "`", the quote and itself.
std::string unquoted(std::string_view word)
{
    constexpr std::string_view escapedInDoubleQuotes = "$`\"\\";
    std::string value;
    char quote = '\0';
    for (std::size_t at = 0; at < word.size(); ++at) {
        const char character = word[at];
        const bool hasNext = at + 1 < word.size();
        if (quote == '\0' && (character == '"' || character == '\'')) {
            quote = character;
        } else if (character == quote) {
            quote = '\0';
        } else if (character == '\\' && quote != '\'' && hasNext
            && (quote == '\0' || escapedInDoubleQuotes.find(word[at + 1]) != std::string_view::npos)) {
            value += word[++at];
        } else {
            value += character;
        }
    }
    return value;
}

} // namespace

std::optional<std::string> prettyHostName(std::string_view machineInfo)
{
    constexpr std::string_view key = "PRETTY_HOSTNAME=";
    std::optional<std::string> name;
    while (!machineInfo.empty()) {
        const std::size_t end = std::min(machineInfo.find('\n'), machineInfo.size());
        const std::string_view line = trimmed(machineInfo.substr(0, end));
        machineInfo.remove_prefix(std::min(end + 1, machineInfo.size()));
        if (line.starts_with(key)) {
            name = std::string(trimmed(unquoted(line.substr(key.size()))));
        }
    }
    const bool isUsable = name && !name->empty() && isValidUtf8(*name);
    return isUsable ? name : std::nullopt;
}

} // namespace tessarin
