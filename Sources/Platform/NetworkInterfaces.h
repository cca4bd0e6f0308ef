#pragma once

#include <string>
#include <vector>

namespace tessarin
{

// An IPv4 address of this machine in numbers, and the name of the interface that has it.
struct InterfaceAddress {
    std::string name;
    std::string address;
    bool operator==(const InterfaceAddress&) const = default;
};

// Those of all interfaces, up or down, the loopback included, in the system's order. Empty when the system does not tell. Any thread.
[[nodiscard]] std::vector<InterfaceAddress> interfaceAddresses();

} // namespace tessarin
