#include "AppModelFixture.h"

#include "ImmortalMainThread.h"
#include "Platform/BackgroundWork.h"
#include "Services/Locators.h"

#include <csignal>
#include <filesystem>
#include <thread>

namespace tessarin::testing
{

namespace fs = std::filesystem;

namespace
{

// For what happens elsewhere, while nothing runs here.
template <class Condition>
void waitIdly(Condition condition, const char* what)
{
    const auto end = std::chrono::steady_clock::now() + waitBound;
    while (!condition()) {
        ASSERT_LT(std::chrono::steady_clock::now(), end) << what;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

std::string binDirectory(const ScriptedRuntime& runtime)
{
    return runtime.directory() + "/bin";
}

} // namespace

AppModelTest::AppModelTest(MainThread* ownMainThread)
    : mainThread(ownMainThread ? *ownMainThread : immortalMainThread())
    , preferences(StoreLocations{ runtime.directory() + "/config", runtime.directory() + "/data" })
    , store(preferences)
{
    fs::create_directory(binDirectory(runtime));
}

AppModelTest::~AppModelTest()
{
    if (model) {
        dropConnection();
    }
    model.reset();
    finishBackgroundWork(); // which uses the secrets
}

void AppModelTest::install(std::initializer_list<std::string_view> programs)
{
    for (const std::string_view program : programs) {
        fs::create_symlink(ScriptedRuntime::executable(program), binDirectory(runtime) + "/" + std::string(program));
    }
}

void AppModelTest::uninstall(std::string_view program)
{
    fs::remove(binDirectory(runtime) + "/" + std::string(program));
}

RuntimeContext AppModelTest::context()
{
    RuntimeContext result;
    result.preference = [this](const std::string& key) {
        onSettingAsked(key);
        return preferences.text(key);
    };
    result.environment = runtime.environment();
    result.environment.insert(addedEnvironment.begin(), addedEnvironment.end());
    result.environment["PATH"] = binDirectory(runtime) + ":/usr/bin:/bin";
    result.home = runtime.home();
    return result;
}

RemoteContext AppModelTest::remoteContext()
{
    return { secrets, remotePort, [this] { return suggestedAddress; }, [name = computerName] { return name; } };
}

void AppModelTest::openModel()
{
    if (model) {
        dropConnection();
        model.reset();
    }
    model = AppModel::make({ preferences, store, mainThread, desktop, context(), remoteContext(), [this] { return clock; } });
}

void AppModelTest::openProject(std::initializer_list<std::string_view> programs)
{
    install(programs);
    openModel();
    model->addWorkspace(runtime.workspace());
}

std::string AppModelTest::makeFolder(const std::string& name) const
{
    const std::string path = runtime.directory() + "/" + name;
    fs::create_directories(path);
    return path;
}

void AppModelTest::dropConnection()
{
    model->selectWorkspace(Uuid::random());
}

void AppModelTest::waitFor(ConnectionState::Kind state)
{
    waitUntil([&] { return model->connectionState().kind() == state; }, "waiting for a state");
}

void AppModelTest::waitForEntries(std::size_t count)
{
    waitUntil([&] { return model->entries().size() >= count; }, "waiting for entries");
}

void AppModelTest::waitForHandled()
{
    waitIdly([&] { return runtime.exists("handled"); }, "the client has not taken what it was sent");
}

void AppModelTest::waitForCollected(std::string_view program)
{
    waitIdly([&] { return runtime.hasStarted(program) && kill(runtime.processID(program), 0) != 0; }, "the child was not collected");
}

void AppModelTest::drain()
{
    mainThread.drain();
}

void AppModelTest::runTurn(const std::string& prompt)
{
    model->send(prompt);
    waitFor(ConnectionState::Kind::ready);
}

std::optional<std::vector<Workspace>> AppModelTest::storedTree()
{
    const auto bytes = preferences.bytes(WorkspaceStore::key);
    if (!bytes) {
        return std::nullopt;
    }
    auto tree = decodeWorkspaces(*bytes);
    EXPECT_TRUE(tree) << *bytes;
    return tree;
}

std::vector<std::string> AppModelTest::storedTexts()
{
    std::vector<std::string> result;
    const auto tree = storedTree().value_or(std::vector<Workspace>());
    if (tree.size() == 1 && tree[0].threads.size() == 1) {
        for (const ChatEntry& entry : tree[0].threads[0].entries) {
            result.push_back(entry.text);
        }
    }
    return result;
}

std::vector<std::string> AppModelTest::texts() const
{
    std::vector<std::string> result;
    for (const ChatEntry& entry : model->entries()) {
        result.push_back(entry.text);
    }
    return result;
}

std::vector<ChatEntryKind> AppModelTest::kinds() const
{
    std::vector<ChatEntryKind> result;
    for (const ChatEntry& entry : model->entries()) {
        result.push_back(entry.kind);
    }
    return result;
}

const ChatThread& AppModelTest::task() const
{
    const ChatThread* thread = model->selectedThread();
    if (!thread) {
        throw std::logic_error("no task is selected");
    }
    return *thread;
}

bool AppModelTest::wasStopped(std::string_view program, int start) const
{
    return runtime.hasRecorded(program, "signal", start) || runtime.hasRecorded(program, "stdinClosed", start);
}

void AppModelTest::waitForStop(std::string_view program, int start)
{
    waitUntil([&] { return wasStopped(program, start); }, "the end of a stopped client's child");
}

std::vector<std::string> AppModelTest::prompts(std::string_view program, int start) const
{
    std::vector<std::string> result;
    for (const Json& prompt : parameters(program, "session/prompt", "prompt", start)) {
        result.emplace_back(prompt.at_pointer("/0/text").as_string());
    }
    return result;
}

std::vector<Json> AppModelTest::parameters(std::string_view program, std::string_view method, std::string_view key, int start) const
{
    std::vector<Json> result;
    for (const Json& message : runtime.received(program, method, start)) {
        const JsonObject& params = message.at("params").as_object();
        result.push_back(params.contains(key) ? params.at(key) : Json());
    }
    return result;
}

std::string AppModelTest::describedState() const
{
    return std::string(model->connectionState().label()) + " " + model->connectionState().failureText();
}

Scenario& askToBeHandled(Scenario& scenario)
{
    return scenario.send(R"({"jsonrpc":"2.0","id":99,"method":"unknown"})").expectResponse(99).touch("handled");
}

Scenario& turn(Scenario& scenario, std::string_view answer)
{
    return scenario.expect("session/prompt").chunk(answer).reply(endTurn);
}

Scenario oneTurn(std::string_view answer, std::string_view sessionId)
{
    Scenario scenario;
    scenario.always("session/set_config_option").handshake(sessionId);
    return turn(scenario, answer);
}

Scenario failingTurn(std::string_view message, std::string_view sessionId)
{
    Scenario scenario;
    return scenario.always("session/set_config_option").handshake(sessionId).expect("session/prompt").replyError(message);
}

Scenario failingTurnOnGo(std::string_view message)
{
    return hangingTurn().waitForFile("go").replyError(message);
}

Scenario hangingTurn(std::string_view sessionId)
{
    Scenario scenario;
    return scenario.always("session/set_config_option").handshake(sessionId).expect("session/prompt").touch("prompted");
}

} // namespace tessarin::testing
