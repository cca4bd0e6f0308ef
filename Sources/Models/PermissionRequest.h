#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessarin
{

// One choice of a prompt. `id` goes back to the runtime, `name` is the button's text; `kind` is the runtime's word.
struct PermissionOption {
    std::string id;
    std::string name;
    std::string kind;
    bool operator==(const PermissionOption&) const = default;
};

// A prompt for the person. `id` is assigned by the client that raised it and means something to that client only.
struct PermissionRequest {
    std::int64_t id = 0;
    std::string title;
    std::string detail;
    std::vector<PermissionOption> options;
    bool operator==(const PermissionRequest&) const = default;
};

} // namespace tessarin
