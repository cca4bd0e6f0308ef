#include "App/ShellCommands.h"

namespace tessarin
{

std::string shellQuoted(std::string_view text)
{
    std::string quoted = "'";
    for (const char character : text) {
        if (character == '\'') {
            quoted += "'\\''";
        } else {
            quoted += character;
        }
    }
    return quoted + "'";
}

} // namespace tessarin
