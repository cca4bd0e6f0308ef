#pragma once

#include <optional>
#include <string>
#include <utility>
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

// One of the three states. `Vendor` only makes the types of the vendors differ, so that one's status is never taken for another's.
template <class Vendor, class InstalledState>
struct InstallStatus {
    using Found = InstalledState;

    std::variant<Checking, Missing, InstalledState> state;

    InstallStatus() = default;
    InstallStatus(Checking) { }
    InstallStatus(Missing missing) : state(missing) { }
    InstallStatus(InstalledState installedState) : state(std::move(installedState)) { }

    [[nodiscard]] bool isChecking() const { return std::holds_alternative<Checking>(state); }
    [[nodiscard]] bool isMissing() const { return std::holds_alternative<Missing>(state); }
    // Null unless installed.
    [[nodiscard]] const InstalledState* installed() const { return std::get_if<InstalledState>(&state); }
    bool operator==(const InstallStatus&) const = default;
};

using GrokInstallStatus = InstallStatus<struct GrokVendor, Installed>;
using KimiInstallStatus = InstallStatus<struct KimiVendor, Installed>;
using OpenCodeInstallStatus = InstallStatus<struct OpenCodeVendor, Installed>;
using CodexInstallStatus = InstallStatus<struct CodexVendor, InstalledWithSignIn>;
using ClaudeInstallStatus = InstallStatus<struct ClaudeVendor, InstalledWithSignIn>;

} // namespace tessarin
