#include "BenchmarkHistory.h"

#include "BenchmarkRuntime.h"

#include <numeric>

namespace tessarin
{

namespace
{

std::string outputOf(std::size_t bytes)
{
    std::string text;
    for (std::size_t line = 0; text.size() < bytes; ++line) {
        text += "[" + std::to_string(line) + "/9999] Building CXX object Sources/Models/CMakeFiles/Models.dir/ChatThread.cpp.o\n";
    }
    return text;
}

// The entry that stands at this place of every turn.
ChatEntry entryAt(std::size_t place)
{
    constexpr std::size_t entriesOfATurn = 7;
    switch (place % entriesOfATurn) {
    case 0:
        return ChatEntry::make(
            ChatEntryKind::user, "Find out why the line numbers are off by one, and add a test for it. " + outputOf(150));
    case 1:
        return ChatEntry::make(ChatEntryKind::thought, outputOf(900));
    case entriesOfATurn - 1:
        return ChatEntry::make(ChatEntryKind::assistant, markdownOf(1750));
    default:
        break;
    }
    ChatEntry entry = ChatEntry::make(ChatEntryKind::tool, outputOf(500 * (place % entriesOfATurn)));
    entry.title = "Run command";
    entry.status = "completed";
    return entry;
}

} // namespace

ChatThread taskOfBytes(std::size_t bytes)
{
    ChatThread task = ChatThread::make("Retry uploads with backoff and jitter");
    for (std::size_t written = 0; written < bytes;) {
        task.entries.push_back(entryAt(task.entries.size()));
        written += task.entries.back().text.size();
    }
    return task;
}

ChatThread taskOfEntries(std::size_t count)
{
    ChatThread task = ChatThread::make("Task of " + std::to_string(count));
    while (task.entries.size() < count) {
        task.entries.push_back(entryAt(task.entries.size()));
    }
    return task;
}

ChatThread taskOfOneTool(std::size_t bytes)
{
    ChatThread task = ChatThread::make("One tool");
    ChatEntry entry = ChatEntry::make(ChatEntryKind::tool, outputOf(bytes));
    entry.title = "Run command";
    entry.status = "completed";
    task.entries.push_back(std::move(entry));
    return task;
}

std::size_t textBytesOf(const ChatThread& task)
{
    return std::accumulate(task.entries.begin(), task.entries.end(), std::size_t(0),
        [](std::size_t sum, const ChatEntry& entry) { return sum + entry.text.size(); });
}

} // namespace tessarin
