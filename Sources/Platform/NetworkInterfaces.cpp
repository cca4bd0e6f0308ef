#include "Platform/NetworkInterfaces.h"

#include <ifaddrs.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace tessarin
{

std::vector<InterfaceAddress> interfaceAddresses()
{
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> list(first, &::freeifaddrs);
    std::vector<InterfaceAddress> addresses;
    for (const ifaddrs* entry = first; entry; entry = entry->ifa_next) {
        if (!entry->ifa_name || !entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        char text[NI_MAXHOST];
        if (::getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), text, sizeof text, nullptr, 0, NI_NUMERICHOST) == 0) {
            addresses.push_back({ entry->ifa_name, text });
        }
    }
    return addresses;
}

} // namespace tessarin
