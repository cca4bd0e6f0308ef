#include "App/ThreadTitle.h"

#include "Platform/Text.h"

namespace tessarin
{

std::string threadTitle(std::string_view prompt)
{
    return std::string(firstCharacters(firstLine(prompt), threadTitleLimit));
}

} // namespace tessarin
