// Not yet compiled or run: there was no Mac to do it on. Whoever builds on one first runs ComputerNameTest.

#include "Platform/ComputerName.h"

#include <CoreFoundation/CoreFoundation.h>
#include <SystemConfiguration/SystemConfiguration.h>
#include <unistd.h>
#include <vector>

namespace tessarin
{

// What NSHost calls the localized name of the current host, in plain C.
std::optional<std::string> computerName()
{
    if (const CFStringRef name = SCDynamicStoreCopyComputerName(nullptr, nullptr)) {
        std::vector<char> text(
            static_cast<std::size_t>(CFStringGetMaximumSizeForEncoding(CFStringGetLength(name), kCFStringEncodingUTF8)) + 1);
        const bool isRead = CFStringGetCString(name, text.data(), static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8);
        CFRelease(name);
        if (isRead && text.front() != '\0') {
            return text.data();
        }
    }
    char hostName[256] = {};
    if (::gethostname(hostName, sizeof hostName - 1) != 0 || hostName[0] == '\0') {
        return std::nullopt;
    }
    return hostName;
}

} // namespace tessarin
