#pragma once

#include "Models/AgentProvider.h"
#include "Models/InstallStatus.h"
#include "Views/Tint.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// What the settings say of a runtime.
namespace RuntimeSettingsRules
{

// What stands in the section of a runtime, whatever its state.
struct Words {
    QString heading;
    QString pathTitle;
    QString chooserTitle; // of the dialog for the program
    QString modelTitle; // empty where no model is set
    QString modelCaption; // the rule for the model; empty without one
    QStringList captions;
    QString installLine; // empty where none is shown
    QString signInTitle;
};
[[nodiscard]] Words words(AgentProvider provider);

// Where the person's choices are stored.
struct Keys {
    const char* path;
    const char* model; // null where no model is set
    const char* defaultModel; // the same
};
[[nodiscard]] Keys keys(AgentProvider provider);

// What is known of a runtime, in one form for all vendors.
struct State {
    enum class Kind { checking, missing, installed };
    Kind kind = Kind::checking;
    std::optional<std::string> version;
    std::optional<bool> signedIn; // absent also where the vendor's program can't tell
};
template <class Vendor, class InstalledState>
[[nodiscard]] State stateOf(const InstallStatus<Vendor, InstalledState>& status)
{
    if (const InstalledState* installed = status.installed()) {
        State state{ State::Kind::installed, installed->version, std::nullopt };
        if constexpr (requires { installed->signedIn; }) {
            state.signedIn = installed->signedIn;
        }
        return state;
    }
    return { status.isMissing() ? State::Kind::missing : State::Kind::checking, std::nullopt, std::nullopt };
}

// Always one line: what a program says of its version may be several, when it is the report of an error.
[[nodiscard]] QString statusLabel(AgentProvider provider, const State& state);
[[nodiscard]] QString statusSymbol(const State& state);
[[nodiscard]] Tint::Value statusTint(const State& state);

// Grok and OpenCode report no allowance that would mean something here.
[[nodiscard]] bool showsUsage(AgentProvider provider);
// Whether the runtime would be started with this model. A model that is refused is stored all the same.
[[nodiscard]] bool isModelAccepted(AgentProvider provider, std::string_view model);

} // namespace RuntimeSettingsRules

} // namespace tessarin
