#pragma once

#include "Models/Workspace.h"

#include <cstdint>
#include <iterator>
#include <map>
#include <random>
#include <string>

namespace tessarin
{

// One entry and one task with every field present, and the exact text of a tree that holds them.
inline ChatEntry fullEntry()
{
    return { .id = "call-1",
        .kind = ChatEntryKind::tool,
        .text = "a\n\"b\" \\ / é 😀 \x01",
        .title = "Read src/main.cpp",
        .status = "pending",
        .provider = AgentProvider::claude,
        .createdAt = Instant{ 785000000.123456 } };
}

inline ChatThread fullThread()
{
    return { .id = *Uuid::parse("11111111-2222-4333-8444-55555555AAAA"),
        .title = "New task",
        .sessionId = "grok session",
        .providerSessionIDs = std::map<std::string, std::string>{ { "grok", "grok session" }, { "codex", "codex session" } },
        .lastProvider = AgentProvider::codex,
        .entries = { fullEntry(),
            { .id = "2", .kind = ChatEntryKind::user, .text = "", .title{}, .status{}, .provider{}, .createdAt = Instant{ 0 } } },
        .createdAt = Instant{ -1.5 },
        .updatedAt = Instant{ 785000001 } };
}

inline std::vector<Workspace> fullTree(const std::string& path = "/tmp")
{
    return { { .id = *Uuid::parse("ABCDEF01-2345-4789-8ABC-DEF012345678"), .name = "tmp", .path = path, .threads = { fullThread() } } };
}

inline const std::string fullTreeText
    = R"([{"id":"ABCDEF01-2345-4789-8ABC-DEF012345678","name":"tmp","path":"/tmp","threads":[)"
      R"({"id":"11111111-2222-4333-8444-55555555AAAA","title":"New task","sessionId":"grok session",)"
      R"("providerSessionIDs":{"codex":"codex session","grok":"grok session"},"lastProvider":"codex","entries":[)"
      R"({"id":"call-1","kind":"tool","text":"a\n\"b\" \\ / é 😀 \u0001","title":"Read src/main.cpp","status":"pending","provider":"claude",)"
      R"("createdAt":785000000.123456},)"
      R"({"id":"2","kind":"user","text":"","createdAt":0}],)"
      R"("createdAt":-1.5,"updatedAt":785000001}]}])";

// Trees of any shape, the same for the same state of the source of chance.
class RandomTree
{
public:
    explicit RandomTree(std::uint64_t seed) : m_random(seed) { }

    [[nodiscard]] std::uint64_t below(std::uint64_t limit) { return m_random() % limit; }

    [[nodiscard]] std::string text(std::size_t limit)
    {
        static const char* const parts[]
            = { "word ", "\n", "\"", "\\", "/", "é", "日本", "😀", "\t", "{\"id\":", "],\"", "[{\"", ",", "\x7F", "\x02" };
        std::string text;
        for (std::size_t count = below(limit + 1); count > 0; --count) {
            text += parts[below(std::size(parts))];
        }
        return text;
    }

    [[nodiscard]] Uuid uuid()
    {
        static constexpr char digits[] = "0123456789ABCDEF";
        std::string canonical = "00000000-0000-4000-8000-000000000000";
        for (char& character : canonical) {
            character = character == '0' ? digits[below(16)] : character;
        }
        return *Uuid::parse(canonical);
    }

    [[nodiscard]] Instant instant() { return { static_cast<double>(static_cast<std::int64_t>(m_random())) / 1e10 }; }

    [[nodiscard]] ChatEntry entry(std::size_t textLimit)
    {
        ChatEntry entry;
        entry.id = uuid().text();
        entry.kind = allChatEntryKinds[below(allChatEntryKinds.size())];
        entry.text = text(textLimit);
        if (below(3) == 0) {
            entry.title = text(5);
            entry.status = "completed";
        }
        if (below(2) == 0) {
            entry.provider = allAgentProviders[below(allAgentProviders.size())];
        }
        entry.createdAt = instant();
        return entry;
    }

    [[nodiscard]] ChatThread thread(std::size_t entryLimit, std::size_t textLimit)
    {
        ChatThread thread;
        thread.id = uuid();
        thread.title = text(6);
        if (below(2) == 0) {
            thread.setSessionID(text(4), allAgentProviders[below(allAgentProviders.size())]);
        }
        for (std::size_t count = below(entryLimit + 1); count > 0; --count) {
            thread.entries.push_back(entry(textLimit));
        }
        thread.createdAt = instant();
        thread.updatedAt = instant();
        return thread;
    }

    [[nodiscard]] Workspace workspace(const std::string& path, std::size_t threadLimit, std::size_t entryLimit, std::size_t textLimit)
    {
        Workspace workspace;
        workspace.id = uuid();
        workspace.name = text(3);
        workspace.path = path;
        for (std::size_t count = below(threadLimit + 1); count > 0; --count) {
            workspace.threads.push_back(thread(entryLimit, textLimit));
        }
        return workspace;
    }

private:
    std::mt19937_64 m_random;
};

} // namespace tessarin
