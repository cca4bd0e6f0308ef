// What it costs to save the tree after one changed task, against copying the same bytes to a file: at most 1.5 times.
// The tree is 100 MB of JSON and was loaded from the store, as after a start. A round is a turn's end: entries join one task, the model's
// steps of saving run, and the clock stops when the file is in its place. The copy takes the same bytes from memory to a file and
// replaces another by it, with the same promises to the disk on both sides: the file and its folder are synchronized. So that the
// speed of the disk does not hide the rest, both are measured again in memory where there is a file system of it with room enough.
//
//   SaveBenchmark [--megabytes=100] [--rounds=11] [--folder=...] [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkSupport.h"
#include "Models/WorkspaceStore.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

namespace tessarin
{
namespace
{

constexpr double bar = 1.5;

// What a turn leaves: a prompt, a thought, some tools with their details, an answer.
void appendTurn(ChatThread& thread)
{
    const auto textOf = [](std::size_t lines) {
        std::string text;
        for (std::size_t line = 0; line < lines; ++line) {
            text += "It reads \"Sources/main.cpp\" and changes line " + std::to_string(line) + " — naïve, but correct.\n";
        }
        return text;
    };
    const auto append = [&](ChatEntryKind kind, std::size_t lines) -> ChatEntry& {
        thread.entries.push_back(ChatEntry::make(kind, textOf(lines)));
        thread.entries.back().provider = AgentProvider::codex;
        return thread.entries.back();
    };
    append(ChatEntryKind::user, 3);
    append(ChatEntryKind::thought, 12);
    for (std::size_t tool = 0; tool < 4; ++tool) {
        ChatEntry& entry = append(ChatEntryKind::tool, 6 + tool * 10);
        entry.title = "Edit Sources/main.cpp";
        entry.status = "completed";
    }
    append(ChatEntryKind::assistant, 25);
    thread.updatedAt = Instant::now();
}

std::vector<Workspace> treeOf(std::size_t bytes)
{
    constexpr std::size_t turnsOfATask = 40;
    constexpr std::size_t projects = 5;
    std::vector<Workspace> tree(projects, Workspace::make("/"));
    std::size_t written = 0;
    for (std::size_t task = 0; written < bytes; ++task) {
        ChatThread thread = ChatThread::make("Task " + std::to_string(task));
        for (std::size_t turn = 0; turn < turnsOfATask; ++turn) {
            appendTurn(thread);
        }
        for (const ChatEntry& entry : thread.entries) {
            written += entry.text.size() + 150;
        }
        tree[task % projects].threads.push_back(std::move(thread));
    }
    return tree;
}

std::string wholeFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
}

// The measure: plain calls, as large as the system takes them.
double secondsOfCopying(const std::string& bytes, const std::string& folder)
{
    const std::string path = folder + "/copy";
    const std::string temporary = path + ".new";
    const double start = secondsNow();
    const int file = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    for (std::size_t written = 0; written < bytes.size();) {
        const ssize_t count = ::write(file, bytes.data() + written, bytes.size() - written);
        if (count <= 0) {
            giveUp("can't write to " + temporary);
        }
        written += static_cast<std::size_t>(count);
    }
    const int directory = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (::fsync(file) != 0 || ::close(file) != 0 || ::rename(temporary.c_str(), path.c_str()) != 0 || ::fsync(directory) != 0) {
        giveUp("can't replace " + path);
    }
    ::close(directory);
    return secondsNow() - start;
}

struct Costs {
    std::vector<double> saves;
    std::vector<double> mainThread; // of each save
    std::vector<double> copies;
    std::vector<double> ratios;
    double firstMainThread = 0; // of the first save after the load
};

Costs measureIn(const std::string& parent, const BenchmarkOptions& options)
{
    std::string folder = parent + "/tessarin-save-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        giveUp("can't make a folder in " + parent);
    }
    const StoreLocations locations{ folder + "/config", folder + "/data" };
    const std::string stored = locations.data + "/" + WorkspaceStore::key;
    TreeChanges changes;
    {
        Preferences preferences(locations);
        WorkspaceStore(preferences).save(treeOf(options.number("megabytes") * 1'000'000), changes);
    }
    Preferences preferences(locations);
    WorkspaceStore store(preferences);
    auto tree = store.load();
    if (tree.empty()) {
        giveUp("the tree could not be stored in " + folder);
    }
    Costs costs;
    for (std::size_t round = 0; round < options.number("rounds"); ++round) {
        Workspace& workspace = tree[round % tree.size()];
        ChatThread& thread = workspace.threads[round * 7 % workspace.threads.size()];
        const std::size_t before = thread.entries.size();
        appendTurn(thread);
        changes.noteEntries(thread.id, before);

        const double start = secondsNow();
        store.save(tree, changes);
        costs.mainThread.push_back(secondsNow() - start);
        preferences.flush();
        costs.saves.push_back(secondsNow() - start);

        costs.copies.push_back(secondsOfCopying(wholeFile(stored), folder));
        costs.ratios.push_back(costs.saves.back() / costs.copies.back());
    }
    costs.firstMainThread = costs.mainThread.front();
    if (store.load() != tree) {
        giveUp("what was stored is not the tree");
    }
    std::filesystem::remove_all(folder);
    return costs;
}

int measure(const BenchmarkOptions& options)
{
    // The tree, a new one beside it, and the copy twice.
    const std::size_t needed = 4 * options.number("megabytes") * 1'000'000;
    if (std::filesystem::space(options.text("folder")).available < needed) {
        giveUp("no room in " + options.text("folder"));
    }
    const std::string memory = "/dev/shm";
    std::vector<std::string> folders{ options.text("folder") };
    if (options.text("folder") != memory && std::filesystem::is_directory(memory) && std::filesystem::space(memory).available >= needed) {
        folders.push_back(memory);
    }
    bool isReached = true;
    for (const std::string& folder : folders) {
        const Costs costs = measureIn(folder, options);
        const double ratio = median(costs.ratios);
        std::printf("saving a tree of %zu MB in %s after one changed task: %.1f ms, of these %.2f ms on the main thread (%.2f ms the first "
                    "time after "
                    "loading it); copying its bytes: %.1f ms\n",
            options.number("megabytes"), folder.c_str(), median(costs.saves) * 1e3, median(costs.mainThread) * 1e3,
            costs.firstMainThread * 1e3, median(costs.copies) * 1e3);
        std::printf("save after one changed task / copying the same bytes to a file%s: %.2f (bar %.1f)\n",
            folder == options.text("folder") ? "" : " in memory", ratio, bar);
        isReached = isReached && ratio <= bar;
    }
    return options.status(isReached);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    return tessarin::measure(
        { argc, argv, { { "megabytes", "100" }, { "rounds", "11" }, { "folder", std::filesystem::temp_directory_path().string() } } });
}
