#pragma once

#include "App/ChangeSignal.h"
#include "App/EntryIndex.h"
#include "App/ModelChange.h"
#include "App/ProbeLimit.h"
#include "App/ProviderSelection.h"
#include "App/RemoteContext.h"
#include "App/RemoteSnapshotBuilder.h"
#include "App/SessionUpdateReducer.h"
#include "Imagine/ImagineItem.h"
#include "Imagine/ImagineStore.h"
#include "Models/AppSection.h"
#include "Models/ConnectionState.h"
#include "Models/GrokPermissionMode.h"
#include "Models/InstallStatus.h"
#include "Models/PermissionRequest.h"
#include "Models/PlanEntry.h"
#include "Models/ProviderRoutingMode.h"
#include "Models/ProviderUsage.h"
#include "Models/WorkspaceStore.h"
#include "Platform/ChildProcess.h"
#include "Platform/CommandGroup.h"
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
#include <string_view>
#include <utility>
#include <vector>

namespace tessarin
{

class ACPClient;

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
        RemoteContext remote;
        InstantSource now = &Instant::now;
    };

    static constexpr const char* permissionModeKey = "grokPermissionMode.v1";
    static constexpr const char* routingModeKey = "providerRoutingMode.v1";
    // What imagineProgress says when the person has stopped a generation.
    static constexpr const char* generationStopped = "Stopped";

    // Loads the tree, the modes and the media library, and asks the runtimes for their versions. No client starts before the first prompt.
    [[nodiscard]] static std::shared_ptr<AppModel> make(Surroundings surroundings);
    ~AppModel(); // releases what it holds and stops nothing

    // Observers are told of each change after it, at once and in the order in which they joined. They may read state; they must not call
    // operations, which belong into a later turn of the main loop. The returned token leaves when it is destroyed.
    using Observer = ChangeSignal::Observer;
    using Subscription = ChangeSignal::Subscription;
    [[nodiscard]] Subscription observe(Observer observer);

    // Projects and tasks.
    void chooseProject();
    void addWorkspace(const std::string& path);
    void selectWorkspace(Uuid id);
    void selectThread(Uuid id, Uuid workspaceID);
    void newThread(std::optional<Uuid> workspaceID = std::nullopt);
    void deleteThread(Uuid id, Uuid workspaceID);
    void removeWorkspace(Uuid id);
    void revealProject();
    void clearError();

    // Prompts.
    void send(const std::string& text);
    void stopWorking();

    // The two sections of the window.
    void setSelectedSection(AppSection section);

    // Imagine: a second Grok runtime, in a process of its own, that works in the media library. It may run beside the other one.
    // Starts a generation: with the runtime that is ready, else with a fresh one, which ends what the old one was doing. A blank prompt
    // does nothing. Files that the runtime names come into `imagineItems` as they are imported, newest first.
    void generateImagine(const std::string& prompt, ImagineKind kind);
    // Asks the runtime to end what it does; it stays up, and what it still names is imported.
    void cancelImagine();
    // With the desktop's application for its type.
    void openImagineItem(const ImagineItem& item);
    // Moves the file to the trash, and forgets the item whether or not that succeeds.
    void deleteImagineItem(const ImagineItem& item);
    // Before the program ends: asks the runtimes of both sections, the programs that are being asked about themselves, and the sign-ins
    // to end, and stores what the tasks show. A conversation of which only a part has been replayed stays as it was before. Returns when
    // all of them have been asked; nothing else may follow but the next.
    void stopRuntimes();
    // Before the program ends: drops the copies that have not begun, and returns when those under way are in the library or, where much
    // is missing of them, given up, and the history is written.
    void finishImagineImports();

    // Modes and permissions.
    // Fixed into a client when it is made, so changing it drops both.
    void setPermissionMode(GrokPermissionMode mode);
    void setRoutingMode(ProviderRoutingMode mode);
    // Answers the pending request with one of its options, and closes it. The answer goes to the section that asked last; an unknown id
    // goes to the runtime as it is.
    void respondToPermission(std::string optionID);
    // Answers with the first option that refuses; without one the whole work of the section that asks stops.
    void rejectPermission();

    // The remote host, through which paired devices watch and drive the program.
    void setRemoteEnabled(bool isEnabled);
    // Blank text stands for the suggested address. Only the link changes: the host listens on all addresses.
    void updateRemoteAdvertisedHost(const std::string& text);
    // Nothing happens before the key is known.
    void copyPairingLink();
    // Unpairs every device.
    void rotateRemoteAccessKey();

    // What is known of the runtimes. Each publishes at once what was found, and the version and sign-in when the program has told them;
    // of overlapping refreshes the last answer stays, also one of a program that is no longer the one that is found.
    // However often it is asked, few probes of one program run at a time, and the last of them begins after the last refresh.
    void refreshInstallStatus(); // Grok
    void refreshCodexInstallStatus();
    void refreshKimiInstallStatus();
    void refreshOpenCodeInstallStatus();
    void refreshClaudeInstallStatus();

    // Signing in. The vendor's own program does it; nothing waits for it here, and it does not outlive the program.
    void logIn(); // Grok; the connection state tells how it goes
    void logInCodex();
    void logInKimi();
    // These two need a terminal: the command goes to the pasteboard, the person pastes it.
    void setUpOpenCodeGLM();
    void logInClaude();
    void copyInstallCommandAndOpenTerminal(); // of Grok
    // The command on the pasteboard is no longer to be shown.
    void dismissCopiedCommand();

    // State.
    [[nodiscard]] const std::vector<Workspace>& workspaces() const;
    [[nodiscard]] const std::optional<Uuid>& selectedWorkspaceID() const;
    [[nodiscard]] const std::optional<Uuid>& selectedThreadID() const;
    [[nodiscard]] const ConnectionState& connectionState() const;
    [[nodiscard]] const std::vector<PlanEntry>& plan() const;
    [[nodiscard]] const std::optional<PermissionRequest>& permissionRequest() const;
    // Whether the agent that asks is still there to hear an answer; false while nobody asks.
    [[nodiscard]] bool isPermissionHeard() const;
    // The section that asked last.
    [[nodiscard]] AppSection permissionSection() const;
    [[nodiscard]] const std::optional<std::string>& errorMessage() const;
    [[nodiscard]] const std::string& cliLog() const;
    [[nodiscard]] AppSection selectedSection() const;
    [[nodiscard]] GrokPermissionMode permissionMode() const;
    [[nodiscard]] ProviderRoutingMode routingMode() const;
    [[nodiscard]] std::optional<AgentProvider> activeProvider() const;
    [[nodiscard]] const std::map<AgentProvider, ProviderUsage>& providerUsage() const;

    [[nodiscard]] const std::vector<ImagineItem>& imagineItems() const { return m_imagineItems; } // newest first
    [[nodiscard]] const ConnectionState& imagineState() const { return m_imagineState; }
    [[nodiscard]] const std::string& imagineProgress() const { return m_imagineProgress; } // one line; empty when there is none

    [[nodiscard]] bool remoteEnabled() const { return m_remoteEnabled; }
    [[nodiscard]] const RemoteHostState& remoteHostState() const { return m_remoteHostState; }
    [[nodiscard]] std::size_t remoteClientCount() const { return m_remoteClientCount; }
    [[nodiscard]] const std::string& remoteAdvertisedHost() const { return m_remoteAdvertisedHost; }
    [[nodiscard]] std::optional<std::string> remotePairingURL() const; // absent before the key is known

    [[nodiscard]] const GrokInstallStatus& installStatus() const { return m_installStatus; }
    [[nodiscard]] const CodexInstallStatus& codexInstallStatus() const { return m_codexInstallStatus; }
    [[nodiscard]] const KimiInstallStatus& kimiInstallStatus() const { return m_kimiInstallStatus; }
    [[nodiscard]] const OpenCodeInstallStatus& openCodeInstallStatus() const { return m_openCodeInstallStatus; }
    [[nodiscard]] const ClaudeInstallStatus& claudeInstallStatus() const { return m_claudeInstallStatus; }
    // A command that was copied where no terminal could be opened, to be shown to the person.
    [[nodiscard]] const std::optional<std::string>& copiedCommand() const { return m_copiedCommand; }

    // Derived.
    [[nodiscard]] const Workspace* selectedWorkspace() const; // absent: null
    [[nodiscard]] const ChatThread* selectedThread() const;
    [[nodiscard]] const std::vector<ChatEntry>& entries() const; // of the selected task, else empty
    [[nodiscard]] bool canSend() const;
    // A runtime is at work for the selected task, or starting for it. A connection that is busy with a sign-in is not.
    [[nodiscard]] bool isTurnUnderWay() const;
    [[nodiscard]] bool canChangePermissionMode() const;
    [[nodiscard]] bool canChangeRoutingMode() const;
    [[nodiscard]] bool hasRunnableProvider() const; // looks at the file system
    [[nodiscard]] std::string activeProviderLabel() const;
    [[nodiscard]] std::string connectionLabel() const;

private:
    // What travels with a prompt until its turn has ended.
    struct Turn {
        std::string prompt; // what the runtime gets: a handoff capsule, or the same as the next
        std::string originalPrompt; // what the person typed, trimmed
        std::set<AgentProvider> attempted; // where it has gone already
    };

    explicit AppModel(Surroundings surroundings);

    // Selection.
    enum class TreeShape { kept, changed }; // changed: projects or tasks have come or gone
    void select(std::optional<Uuid> workspaceID, std::optional<Uuid> threadID, TreeShape shape);
    void resetConnection(); // the client never outlives the task and the modes that it was started with
    void persist();
    [[nodiscard]] Workspace* workspaceWithID(const Uuid& id);

    // A prompt, in the order of its steps.
    void routePrompt(Turn turn);
    void performSend(const Turn& turn);
    void finishPrompt(AgentProvider provider, const Turn& turn, const Result<JsonObject, AgentError>& result);
    void handoff(AgentProvider from, AgentProvider to, Turn turn);
    void appendSystemEntry(std::string text);
    void markExhausted(AgentProvider provider);
    void replaceUsage(ProviderUsage usage);

    // A client, in the order of its steps.
    void startClient(AgentProvider provider, std::function<void()> afterReady);
    [[nodiscard]] std::shared_ptr<AgentClient> makeClient(AgentProvider provider, const std::string& workspacePath) const;
    [[nodiscard]] std::optional<std::string> usableExecutable(AgentProvider provider) const;
    void setCallbacks(const std::shared_ptr<AgentClient>& client);
    void finishStart(AgentProvider provider, const Result<AgentStartResult, AgentError>& result, const std::function<void()>& afterReady);
    void beginReplay();
    void abandonReplay();
    void appendLog(const std::string& text);
    void dropClient();
    [[nodiscard]] bool isCurrent(const std::weak_ptr<AgentClient>& client) const;
    [[nodiscard]] std::function<void()> performSendLater(Turn turn);

    // Choice of a provider.
    [[nodiscard]] bool providerAvailable(AgentProvider provider) const;
    [[nodiscard]] std::optional<AgentProvider> providerForNextTurn(const std::set<AgentProvider>& excluding = {});
    [[nodiscard]] std::optional<AgentProvider> nextAutomaticProvider(AgentProvider after, const std::set<AgentProvider>& attempted);
    template <class Question>
    std::optional<AgentProvider> askAboutProviders(Question question);

    // The selected task. Every write goes through updateActiveThread and lands on the task that is selected at that moment.
    void handle(const SessionUpdate& update);
    void updateThreadTitleIfNeeded(std::string_view prompt);
    void appendEntry(ChatEntry entry);
    void setEntries(std::vector<ChatEntry> entries);
    [[nodiscard]] ChatThread* activeThread();
    template <class Mutation>
    void updateActiveThread(Mutation mutation)
    {
        if (ChatThread* thread = activeThread()) {
            mutation(*thread);
        }
    }

    // Imagine, in the order of the steps.
    void startImagineClient(std::string executable);
    void setImagineCallbacks(const std::shared_ptr<ACPClient>& client);
    void finishImagineStart(const Result<AgentStartResult, AgentError>& result);
    void performImagineSend(const std::string& prompt, ImagineKind kind);
    void finishImaginePrompt(const Result<JsonObject, AgentError>& result);
    void handleImagine(const SessionUpdate& update);
    void importImagineMedia(std::vector<std::string> paths);
    void takeImagineArrivals();
    struct ImagineArrivals;
    struct ImagineImport;
    [[nodiscard]] static std::shared_ptr<ImagineArrivals> makeImagineArrivals();
    void addImagineItem(ImagineItem item);
    void dropImagineClient();
    [[nodiscard]] bool isCurrentForImagine(const std::weak_ptr<ACPClient>& client) const;

    // Which section the request on the screen came from.
    enum class PermissionOwner { build, imagine };
    void receivePermission(PermissionOwner owner, const std::weak_ptr<AgentClient>& asker, PermissionRequest request);
    [[nodiscard]] std::shared_ptr<AgentClient> permissionClient() const; // that an answer goes to; null without one
    void forgetAsker(const std::weak_ptr<AgentClient>& client);
    void recordPermissionMode(GrokPermissionMode mode);

    // The remote host: key, snapshots, what devices ask for.
    void configureRemoteHost();
    using RemoteSecret = std::optional<RemoteHostConfiguration::Secret>;
    void loadRemoteSecret();
    void rotateRemoteSecret();
    void askForRemoteSecret(std::function<RemoteSecret()> source);
    static void deliverRemoteSecret(
        const std::weak_ptr<AppModel>& weak, MainThread& mainThread, RemoteSecret secret, std::optional<std::string> computerName);
    void takeRemoteSecret(const RemoteSecret& secret);
    void startRemoteHost();
    void broadcastRemoteSnapshot();
    void broadcastRemoteSnapshotSoon();
    void handleRemote(const RemoteEnvelope& message);
    void selectRemoteThread(const RemoteEnvelope& message);
    void promptFromRemote(const RemoteEnvelope& message);
    void cancelFromRemote(const RemoteEnvelope& message);
    void respondFromRemote(const RemoteEnvelope& message);
    void setPermissionModeFromRemote(const RemoteEnvelope& message);
    void setProviderModeFromRemote(const RemoteEnvelope& message);
    void generateFromRemote(const RemoteEnvelope& message);
    void sendRemoteMedia(const RemoteEnvelope& message);

    // Signing in.
    template <class Status>
    void setInstallStatus(Status& field, Status status);
    template <class Status, class Probe>
    void refreshRuntime(AgentProvider provider, Status AppModel::*field, const std::optional<std::string>& path, Probe probe);
    template <class Status, class Probe>
    void startProbe(AgentProvider provider, Status AppModel::*field, const std::string& path, Probe probe);
    template <class Status>
    void finishProbe(AgentProvider provider, Status AppModel::*field, typename Status::Found answer);
    void finishLogIn(const Result<CommandOutcome, std::string>& result);
    void runLogIn(const std::string& executable, Environment environment, void (AppModel::*refresh)(), std::string failureText);
    void copyCommandAndOpenTerminal(std::string command);

    // Published state is set here alone; observers are told when the value has become another one.
    template <class Value>
    void publish(Value& field, Value value, ModelChange::Kind kind)
    {
        if (field != value) {
            field = std::move(value);
            changed(kind);
        }
    }
    void setConnectionState(ConnectionState state);
    void clearPermissionRequest();
    void setErrorMessage(std::optional<std::string> message);
    void setImagineState(ConnectionState state);
    void setImagineProgress(std::string progress);
    void failImagine(const std::string& text, std::string message);
    void setActiveProvider(std::optional<AgentProvider> provider);
    void setPlan(std::vector<PlanEntry> plan);
    void clearLog();
    void fail(const std::string& text, std::string message);
    void changed(ModelChange::Kind kind, std::size_t index = 0);

    Surroundings m_surroundings;
    ChangeSignal m_signal;

    // Published.
    std::vector<Workspace> m_workspaces;
    std::optional<Uuid> m_selectedWorkspaceID;
    std::optional<Uuid> m_selectedThreadID;
    ConnectionState m_connectionState;
    std::vector<PlanEntry> m_plan;
    std::optional<PermissionRequest> m_permissionRequest;
    std::optional<std::string> m_errorMessage;
    std::string m_cliLog;
    GrokInstallStatus m_installStatus;
    CodexInstallStatus m_codexInstallStatus;
    KimiInstallStatus m_kimiInstallStatus;
    OpenCodeInstallStatus m_openCodeInstallStatus;
    ClaudeInstallStatus m_claudeInstallStatus;
    std::optional<std::string> m_copiedCommand;
    AppSection m_selectedSection = AppSection::build;
    GrokPermissionMode m_permissionMode = GrokPermissionMode::ask;
    ProviderRoutingMode m_routingMode = ProviderRoutingMode::automatic;
    std::optional<AgentProvider> m_activeProvider;
    std::map<AgentProvider, ProviderUsage> m_providerUsage;
    std::vector<ImagineItem> m_imagineItems;
    ConnectionState m_imagineState;
    std::string m_imagineProgress;

    bool m_remoteEnabled = false;
    RemoteHostState m_remoteHostState;
    std::size_t m_remoteClientCount = 0;
    std::string m_remoteAdvertisedHost;
    std::optional<std::string> m_remoteSecret; // absent until it is loaded

    // Private.
    ProbeLimit m_probes;
    CommandGroup m_signIns;
    RemoteHostServer m_remoteHost;
    RemoteSnapshotBuilder m_remoteSnapshots;
    std::optional<MainThread::DelayID> m_remoteSnapshotDelay; // of the snapshot that is due
    bool m_isRemoteSecretDue = false; // it is being loaded or made
    bool m_isRemoteRotationDue = false; // asked for meanwhile
    bool m_isPermissionTold = false; // the devices have been told of the pending request
    std::optional<std::string> m_computerName; // known when the key is
    std::vector<Subscription> m_remoteObservers;
    std::shared_ptr<AgentClient> m_client; // at most one
    std::shared_ptr<ACPClient> m_imagineClient; // at most one
    std::string m_currentImaginePrompt; // of the running generation, trimmed
    ImagineKind m_currentImagineKind = ImagineKind::image;
    std::set<std::string> m_seenImaginePaths; // taken up in this generation
    ImagineStore m_imagineStore;
    const std::shared_ptr<ImagineArrivals> m_imagineArrivals; // what has been imported and is not in the list yet
    PermissionOwner m_permissionOwner = PermissionOwner::build; // counts while a request is pending
    std::weak_ptr<AgentClient> m_permissionAsker; // of the pending request, as long as its child runs
    bool m_isSigningIn = false; // and that alone makes the connection busy
    bool m_isReplaying = false; // a stored session is coming through as updates
    std::optional<std::vector<ChatEntry>> m_replayBackup; // the entries that a replay has set aside
    FallbackMessageIDs m_fallbackMessageIDs = FallbackMessageIDs::random();

    // What keeps one more chunk as cheap in a long task as in a short one.
    TreeChanges m_treeChanges; // since the last save
    EntryIndex m_entryIndex; // of the selected task
    // Where the selection was found last: tried first and checked, back at the start whenever the tree or the selection changes.
    mutable std::size_t m_workspaceRow = 0;
    mutable std::size_t m_threadRow = 0;
};

} // namespace tessarin
