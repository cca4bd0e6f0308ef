#pragma once

#include "App/ModelChange.h"
#include "Models/AppSection.h"
#include "Models/ConnectionState.h"
#include "Models/GrokPermissionMode.h"
#include "Models/InstallStatus.h"
#include "Models/PermissionRequest.h"
#include "Models/PlanEntry.h"
#include "Models/ProviderRoutingMode.h"
#include "Models/ProviderUsage.h"
#include "Models/WorkspaceStore.h"
#include "Platform/Desktop.h"
#include "Platform/MainThread.h"
#include "Services/AgentClient.h"
#include "Services/RuntimeContext.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tessarin
{

// The one state object of the program: all that a view shows, the running client, the only writer of the tree of projects.
// Main thread only. One instance lives as long as the process; views observe it and call its operations. An operation that a guard
// refuses does nothing.
class AppModel : public std::enable_shared_from_this<AppModel>
{
public:
    // The world around the model. All references outlive it.
    struct Surroundings {
        Preferences& preferences;
        WorkspaceStore& store;
        MainThread& mainThread;
        Desktop& desktop;
        RuntimeContext runtimes;
        InstantSource now = &Instant::now;
    };

    // Loads the tree and the modes. No client starts before the first prompt.
    [[nodiscard]] static std::shared_ptr<AppModel> make(Surroundings surroundings);
    ~AppModel(); // releases what it holds and stops nothing

    // Observers are told after each change, in the order in which they joined. The returned token leaves when it is destroyed.
    using Observer = std::function<void(const ModelChange&)>;
    using Subscription = std::shared_ptr<void>;
    [[nodiscard]] Subscription observe(Observer observer);

    // Projects and tasks.
    void chooseProject();
    void addWorkspace(const std::string& path);
    void selectWorkspace(const Uuid& id);
    void selectThread(const Uuid& id, const Uuid& workspaceID);
    void newThread(std::optional<Uuid> workspaceID = std::nullopt);
    void deleteThread(const Uuid& id, const Uuid& workspaceID);
    void removeWorkspace(const Uuid& id);
    void revealProject();
    void clearError();

    // Prompts.
    void send(const std::string& text);
    void stopWorking();

    // Modes and permissions.
    void setPermissionMode(GrokPermissionMode mode);
    void setRoutingMode(ProviderRoutingMode mode);

    // State.
    [[nodiscard]] const std::vector<Workspace>& workspaces() const;
    [[nodiscard]] const std::optional<Uuid>& selectedWorkspaceID() const;
    [[nodiscard]] const std::optional<Uuid>& selectedThreadID() const;
    [[nodiscard]] const ConnectionState& connectionState() const;
    [[nodiscard]] const std::vector<PlanEntry>& plan() const;
    [[nodiscard]] const std::optional<PermissionRequest>& permissionRequest() const;
    [[nodiscard]] const std::optional<std::string>& errorMessage() const;
    [[nodiscard]] const std::string& cliLog() const;
    [[nodiscard]] AppSection selectedSection() const;
    [[nodiscard]] GrokPermissionMode permissionMode() const;
    [[nodiscard]] ProviderRoutingMode routingMode() const;
    [[nodiscard]] std::optional<AgentProvider> activeProvider() const;
    [[nodiscard]] const std::map<AgentProvider, ProviderUsage>& providerUsage() const;

    // Derived.
    [[nodiscard]] const Workspace* selectedWorkspace() const; // absent: null
    [[nodiscard]] const ChatThread* selectedThread() const;
    [[nodiscard]] const std::vector<ChatEntry>& entries() const; // of the selected task, else empty
    [[nodiscard]] bool canSend() const;
    [[nodiscard]] bool canChangePermissionMode() const;
    [[nodiscard]] bool canChangeRoutingMode() const;
    [[nodiscard]] bool hasRunnableProvider() const; // looks at the file system
    [[nodiscard]] std::string activeProviderLabel() const;
    [[nodiscard]] std::string connectionLabel() const;

private:
    explicit AppModel(Surroundings surroundings);
};

} // namespace tessarin
