#include "Updates/ReleaseStatement.h"

namespace tessarin
{

std::optional<std::string> ReleaseStatement::text() const
{
    if (!length) {
        return std::nullopt;
    }
    std::string text = "tessarin release\n";
    for (const std::string& line : { version, shownVersion, os, std::to_string(*length), archiveSignature }) {
        if (line.find('\n') != std::string::npos) {
            return std::nullopt;
        }
        text += line + '\n';
    }
    return text;
}

} // namespace tessarin
