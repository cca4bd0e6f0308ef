// The model against an agent on the official library: a turn becomes the task, a stored task comes back by a replay, an exhausted
// allowance moves it on.

#include "App/AppModel.h"
#include "ImmortalMainThread.h"
#include "MemorySecretStore.h"
#include "Platform/BackgroundWork.h"
#include "RecordingDesktop.h"
#include "RunningAgent.h"
#include "Services/Locators.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tessarin
{
namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class AppModelInteropTest : public ::testing::Test
{
protected:
    AppModelInteropTest()
    {
        m_folder.install("grok");
        m_folder.install("kimi");
        openModel();
        m_model->addWorkspace(m_folder.project());
    }

    // A start of the program on the same stores.
    void openModel()
    {
        closeModel();
        m_preferences = std::make_unique<Preferences>(StoreLocations{ m_folder.path("config"), m_folder.path("data") });
        m_store = std::make_unique<WorkspaceStore>(*m_preferences);
        RuntimeContext runtimes;
        runtimes.environment = m_folder.environment();
        runtimes.home = m_folder.path("home");
        runtimes.preference = [this](const std::string& key) -> std::optional<std::string> {
            if (key == GrokLocator::customPathKey) {
                return m_folder.path("bin/grok");
            }
            if (key == KimiLocator::customPathKey) {
                return m_folder.path("bin/kimi");
            }
            return std::nullopt;
        };
        m_model = AppModel::make({ *m_preferences, *m_store, m_mainThread, m_desktop, std::move(runtimes), { m_secrets } });
    }

    void closeModel()
    {
        if (m_model) {
            EXPECT_EQ(m_model->cliLog(), "");
            m_model->newThread(); // which ends the client
            m_model->deleteThread(*m_model->selectedThreadID(), *m_model->selectedWorkspaceID());
        }
        m_model.reset();
        finishBackgroundWork(); // which uses the secrets
        m_store.reset();
        m_preferences.reset();
    }

    void TearDown() override
    {
        closeModel();
        EXPECT_THAT(m_folder.complaints(), IsEmpty());
    }

    void waitFor(const std::string& what, const std::function<bool()>& isDone) { pumpUntil(m_mainThread, what, isDone); }

    void runTurn(const std::string& prompt)
    {
        m_model->send(prompt);
        waitFor("the end of the turn", [this] { return !m_model->connectionState().isBusy(); });
    }

    std::vector<std::string> texts() const
    {
        std::vector<std::string> texts;
        for (const ChatEntry& entry : m_model->entries()) {
            texts.push_back(std::string(rawText(entry.kind)) + ": " + entry.text);
        }
        return texts;
    }

    AgentFolder m_folder;
    MainThread& m_mainThread = testing::immortalMainThread();
    testing::RecordingDesktop m_desktop;
    testing::MemorySecretStore m_secrets;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<WorkspaceStore> m_store;
    std::shared_ptr<AppModel> m_model;
};

const std::vector<std::string> wholeTurn{
    "user: TURN:everything",
    "thought: The person wants everything.",
    "assistant: I read the file: größer, 你好, 👩‍🚀.",
    "tool: {\n  \"limit\" : 3,\n  \"path\" : \"notes\\/today.txt\"\n}",
    "assistant: Done.",
};

TEST_F(AppModelInteropTest, AWholeTurnBecomesTheTaskAndThePlan)
{
    runTurn("TURN:everything");

    EXPECT_EQ(m_model->connectionState(), ConnectionState::Kind::ready);
    EXPECT_EQ(texts(), wholeTurn);
    const ChatEntry& tool = m_model->entries()[3];
    EXPECT_EQ(tool.id, "call-1");
    EXPECT_EQ(tool.title, "Read notes.txt");
    EXPECT_EQ(tool.status, "completed");
    EXPECT_EQ(tool.provider, AgentProvider::grok);
    EXPECT_THAT(m_model->plan(),
        ElementsAre(PlanEntry{ "plan-0", "Read the file", "completed", "high" },
            PlanEntry{ "plan-1", "Write the answer", "in_progress", "medium" }));
}

TEST_F(AppModelInteropTest, AfterARestartTheAgentReplaysTheTaskAndGoesOn)
{
    runTurn("TURN:everything");
    const auto session = m_model->selectedThread()->sessionID(AgentProvider::grok);
    ASSERT_TRUE(session);
    m_preferences->flush();

    openModel();
    EXPECT_EQ(texts(), wholeTurn) << "the store has the task";
    runTurn("TURN:brief");

    std::vector<std::string> expected = wholeTurn;
    expected.insert(expected.end(), { "thought: Short.", "assistant: A short answer." });
    EXPECT_EQ(texts(), expected) << "what was replayed stands in place of what was stored";
    EXPECT_EQ(m_model->selectedThread()->sessionID(AgentProvider::grok), session);
    EXPECT_EQ(m_folder.received("session/load").size(), 1U);
    EXPECT_EQ(m_folder.received("session/new").size(), 1U);
}

TEST_F(AppModelInteropTest, AnExhaustedAllowanceMovesTheTaskToTheNextRuntime)
{
    m_folder.install("grok", { { "AGENT_EXHAUSTED", "1" } });
    runTurn("TURN:limited");

    EXPECT_EQ(m_model->connectionState(), ConnectionState::Kind::ready);
    EXPECT_EQ(m_model->activeProvider(), AgentProvider::kimi);
    EXPECT_TRUE(m_model->providerUsage().at(AgentProvider::grok).exhausted);
    EXPECT_EQ(m_model->selectedThread()->lastProvider, AgentProvider::kimi);
    EXPECT_EQ(texts().front(), "user: TURN:limited");
    EXPECT_EQ(texts().back(), "assistant: Done.");
    const std::vector<JsonObject> prompts = m_folder.received("session/prompt");
    ASSERT_EQ(prompts.size(), 2U);
    const Json capsule = Json(*objectAt(prompts[1], "params")).at("prompt").at(0).at("text");
    EXPECT_THAT(std::string(capsule.as_string()), HasSubstr("TURN:limited"));
    EXPECT_EQ(m_folder.received("session/set_config_option").size(), 1U) << "Kimi is told its mode";
}

TEST_F(AppModelInteropTest, StoppingEndsTheTurnAndKeepsTheConnection)
{
    m_model->send("TURN:endless");
    waitFor("the first words", [this] { return texts().back() == "assistant: Working"; });

    m_model->stopWorking();
    EXPECT_EQ(m_model->connectionState(), ConnectionState::Kind::ready);
    waitFor("the last words", [this] { return texts()[1] == "assistant: Working, stopped."; });
    // The answer of the stopped turn may come in the middle of the next one, which then shows as ready early.
    m_model->send("TURN:brief");
    waitFor("the next answer", [this] { return texts().back() == "assistant: A short answer."; });

    EXPECT_THAT(texts(),
        ElementsAre("user: TURN:endless", "assistant: Working, stopped.", "system: Stopped by you.", "user: TURN:brief", "thought: Short.",
            "assistant: A short answer."));
    EXPECT_EQ(m_folder.received("initialize").size(), 1U);
}

TEST_F(AppModelInteropTest, AnErrorIsShownInTheAgentsWordsAndTheTaskGoesOn)
{
    runTurn("TURN:failing");
    EXPECT_EQ(m_model->connectionState(), ConnectionState::failed("The model is on fire: 503"));
    EXPECT_EQ(m_model->errorMessage(), "The model is on fire: 503");
    EXPECT_THAT(texts(), ElementsAre("user: TURN:failing", "system: Error from Grok: The model is on fire: 503"));

    m_model->clearError();
    runTurn("TURN:brief");
    EXPECT_EQ(m_model->connectionState(), ConnectionState::Kind::ready);
    EXPECT_EQ(texts().back(), "assistant: A short answer.");
}

} // namespace
} // namespace tessarin
