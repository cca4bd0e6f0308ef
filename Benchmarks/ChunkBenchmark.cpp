// What one more chunk costs the main thread in a long task, against the same chunk in a short one: at most 1.2 times.
// The way is the real one: a child writes updates, the client reads and posts them, the model folds each into the selected task, which
// was loaded from the store with so many entries before. Text of an answer and of a thought alternate, so that no entry is the one found
// last. The cost is the processor time of the main thread from the first chunk of a turn to its last, so neither the parsing, which
// other threads do, nor the save at the end of the turn counts.
//
//   ChunkBenchmark [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "App/AppModel.h"
#include "BenchmarkSupport.h"
#include "BenchmarkWorld.h"
#include "Platform/BackgroundWork.h"
#include "Services/Locators.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{
namespace
{

constexpr double bar = 1.2;
constexpr std::size_t longTask = 100'000;
constexpr std::size_t shortTask = 100;
constexpr std::size_t chunksOfATurn = 50'000;
constexpr std::size_t appendedChunks = chunksOfATurn - 2; // the first of each of the two ids makes an entry
constexpr std::size_t rounds = 9;

double processorSecondsOfThisThread()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// The part of the runtime: this program, started as Grok is. Opens a session and answers each prompt with chunks under two ids.
void writeTurn(std::size_t turn)
{
    const std::string ids[] = { "answer-" + std::to_string(turn), "thought-" + std::to_string(turn) };
    const char* kinds[] = { "agent_message_chunk", "agent_thought_chunk" };
    for (std::size_t i = 0; i < chunksOfATurn; ++i) {
        std::cout << R"({"jsonrpc":"2.0","method":"session/update","params":{"sessionId":"s","update":{"sessionUpdate":")" << kinds[i % 2]
                  << R"(","messageId":")" << ids[i % 2] << R"(","content":{"type":"text","text":"a few words "}}}})"
                  << "\n";
    }
}

int playRuntime()
{
    std::size_t turn = 0;
    for (std::string line; std::getline(std::cin, line);) {
        const auto message = parseJson(line);
        const JsonObject* object = message ? message->if_object() : nullptr;
        const auto id = object ? integerAt(*object, "id") : std::nullopt;
        if (!id) {
            continue;
        }
        if (textAt(*object, "method") == "session/prompt") {
            writeTurn(turn++);
        }
        std::cout << R"({"jsonrpc":"2.0","id":)" << *id << R"(,"result":{"sessionId":"s"}})" << std::endl;
    }
    return 0;
}

// The program without its window, on a stored task of so many entries.
class LoadedModel
{
public:
    LoadedModel(const std::string& self, std::size_t entryCount)
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "chunk-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            giveUp("no temporary folder");
        }
        m_folder = pattern;
        m_preferences = std::make_unique<Preferences>(StoreLocations{ m_folder + "/config", m_folder + "/data" });
        m_preferences->setText(GrokLocator::customPathKey, self);
        m_preferences->setText(AppModel::routingModeKey, "grok");
        m_store = std::make_unique<WorkspaceStore>(*m_preferences);
        store(entryCount);
        m_model
            = AppModel::make({ *m_preferences, *m_store, m_mainThread, m_desktop, RuntimeContext::current(*m_preferences), { m_secrets } });
        if (m_model->entries().size() != entryCount) {
            giveUp("the task was not loaded");
        }
    }
    ~LoadedModel()
    {
        m_model->selectWorkspace(Uuid::random()); // which stops the client
        m_model.reset();
        finishBackgroundWork(); // which uses the secrets
        m_store.reset();
        m_preferences.reset();
        std::error_code ignored; // a folder of ours in the system's place for such
        std::filesystem::remove_all(m_folder, ignored);
    }
    LoadedModel(const LoadedModel&) = delete;
    LoadedModel& operator=(const LoadedModel&) = delete;

    // Seconds a chunk, over one turn.
    [[nodiscard]] double costOfAChunk()
    {
        std::size_t chunks = 0;
        double start = 0;
        double end = 0;
        const auto token = m_model->observe([&](const ModelChange& change) {
            if (change.kind != ModelChange::Kind::entryTextAppended) {
                return;
            }
            // The clock is asked twice only: it costs more than a chunk.
            ++chunks;
            if (chunks == 1) {
                start = processorSecondsOfThisThread();
            } else if (chunks == appendedChunks) {
                end = processorSecondsOfThisThread();
            }
        });
        m_model->send("go");
        while (m_model->connectionState().isBusy()) {
            if (!m_mainThread.waitAndDrain(std::chrono::seconds(60))) {
                giveUp("the runtime fell silent");
            }
        }
        if (m_model->connectionState().kind() != ConnectionState::Kind::ready || chunks != appendedChunks) {
            giveUp("not all chunks arrived: " + m_model->connectionState().failureText());
        }
        return (end - start) / static_cast<double>(chunks - 1);
    }

private:
    void store(std::size_t entryCount)
    {
        std::vector<Workspace> tree{ Workspace::make(m_folder) };
        for (std::size_t i = 0; i < entryCount; ++i) {
            tree[0].threads[0].entries.push_back(ChatEntry::make(ChatEntryKind::assistant, "An entry of an earlier turn."));
        }
        TreeChanges changes;
        m_store->save(tree, changes);
    }

    std::string m_folder;
    MainThread m_mainThread;
    NoDesktop m_desktop;
    OneSecret m_secrets;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<WorkspaceStore> m_store;
    std::shared_ptr<AppModel> m_model;
};

int measure(const std::string& self, const BenchmarkOptions& options)
{
    LoadedModel ofShortTask(self, shortTask);
    LoadedModel ofLongTask(self, longTask);
    std::vector<double> shortCosts, longCosts, ratios;
    for (std::size_t round = 0; round < rounds; ++round) {
        shortCosts.push_back(ofShortTask.costOfAChunk());
        longCosts.push_back(ofLongTask.costOfAChunk());
        ratios.push_back(longCosts.back() / shortCosts.back());
    }
    std::printf("a chunk in a task of %6zu entries: %4.0f ns of the main thread\n", shortTask, median(shortCosts) * 1e9);
    std::printf("a chunk in a task of %6zu entries: %4.0f ns of the main thread\n", longTask, median(longCosts) * 1e9);
    const double ratio = median(ratios);
    std::printf("one more chunk in a task of %zu entries against %zu: %.2f (bar %.1f)\n", longTask, shortTask, ratio, bar);
    return options.status(ratio <= bar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    if (!arguments.empty() && arguments[0] == "agent") {
        return tessarin::playRuntime();
    }
    // What the model asks of a runtime that it finds, the version above all.
    if (!arguments.empty() && arguments[0] != "--report") {
        std::puts("1.0.0");
        return 0;
    }
    return tessarin::measure(std::filesystem::read_symlink("/proc/self/exe").string(), { argc, argv, {} });
}
