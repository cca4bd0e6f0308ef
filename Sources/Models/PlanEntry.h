#pragma once

#include <string>

namespace tessarin
{

// One item of the plan that a runtime reports for the current connection. Never stored.
struct PlanEntry {
    std::string id;
    std::string content;
    std::string status;
    std::string priority;
    bool operator==(const PlanEntry&) const = default;
};

} // namespace tessarin
