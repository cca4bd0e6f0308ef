#pragma once

#include <optional>
#include <string>
#include <variant>

namespace tessarin
{

// What is known of a vendor's program on this machine, one type a vendor. `Checking` comes first; `Installed` is published with the
// optional fields absent and filled in when the probe has answered.
struct Checking {
    bool operator==(const Checking&) const = default;
};
struct Missing {
    bool operator==(const Missing&) const = default;
};
struct Installed {
    std::string path;
    std::optional<std::string> version;
    bool operator==(const Installed&) const = default;
};
struct InstalledWithSignIn {
    std::string path;
    std::optional<std::string> version;
    std::optional<bool> signedIn;
    bool operator==(const InstalledWithSignIn&) const = default;
};

struct GrokInstallStatus : std::variant<Checking, Missing, Installed> {
    using variant::variant;
};
struct KimiInstallStatus : std::variant<Checking, Missing, Installed> {
    using variant::variant;
};
struct OpenCodeInstallStatus : std::variant<Checking, Missing, Installed> {
    using variant::variant;
};
struct CodexInstallStatus : std::variant<Checking, Missing, InstalledWithSignIn> {
    using variant::variant;
};
struct ClaudeInstallStatus : std::variant<Checking, Missing, InstalledWithSignIn> {
    using variant::variant;
};

} // namespace tessarin
