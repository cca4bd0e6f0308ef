#include "Platform/CompactDate.h"

#include <ctime>

namespace tessarin
{

std::string compactDate(Instant instant)
{
    const auto seconds = static_cast<std::time_t>(instant.secondsSince1970());
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char date[32];
    return { date, std::strftime(date, sizeof date, "%Y%m%dT%H%M%SZ", &parts) };
}

} // namespace tessarin
