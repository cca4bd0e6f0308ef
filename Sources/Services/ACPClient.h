#pragma once

#include "Models/GrokPermissionMode.h"
#include "Platform/ChildProcess.h"
#include "Platform/MainThread.h"
#include "Platform/SerialQueue.h"
#include "Services/AgentClient.h"

#include <memory>
#include <string>
#include <vector>

namespace tessarin
{

// A runtime that speaks the Agent Client Protocol over its standard streams (JSON-RPC 2.0, one object a line): Grok, Kimi, GLM.
// Made by `make`, held by std::shared_ptr: the reader of the child holds it weakly. See AgentClient for threads and order of use.
class ACPClient final : public AgentClient, public std::enable_shared_from_this<ACPClient>
{
public:
    struct Configuration {
        AgentProvider provider = AgentProvider::grok;
        std::string executable; // absolute path
        std::string workspacePath;
        std::optional<std::string> model;
        GrokPermissionMode permissionMode = GrokPermissionMode::ask;
        std::vector<std::string> processArguments;
        Environment processEnvironment; // the child sees this and nothing else
    };

    [[nodiscard]] static std::shared_ptr<ACPClient> make(Configuration configuration, MainThread& mainThread);
    ~ACPClient() override;

    [[nodiscard]] AgentProvider provider() const override;
    void start(std::optional<std::string> existingSessionID, StartCompletion completion) override;
    void sendPrompt(std::string prompt, PromptCompletion completion) override;
    void cancel() override;
    void respondToPermission(std::int64_t requestID, std::string optionID) override;
    void stop() override;

private:
    ACPClient(Configuration configuration, MainThread& mainThread);
};

} // namespace tessarin
