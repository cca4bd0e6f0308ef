#include "Models/ChatEntry.h"

#include "Models/VocabularyTable.h"
#include "Platform/Uuid.h"

#include <array>
#include <utility>

namespace tessarin
{

namespace
{

struct Row {
    ChatEntryKind value;
    std::string_view rawText;
};

constexpr std::array table{
    Row{ ChatEntryKind::user, "user" },
    Row{ ChatEntryKind::assistant, "assistant" },
    Row{ ChatEntryKind::thought, "thought" },
    Row{ ChatEntryKind::tool, "tool" },
    Row{ ChatEntryKind::system, "system" },
};
static_assert(isInOrder(table) && table.size() == allChatEntryKinds.size());

} // namespace

std::string_view rawText(ChatEntryKind kind)
{
    return rowOf(table, kind).rawText;
}

std::optional<ChatEntryKind> chatEntryKindFromRawText(std::string_view text)
{
    return valueFromRawText(table, text);
}

ChatEntry ChatEntry::make(ChatEntryKind kind, std::string text)
{
    ChatEntry entry;
    entry.id = Uuid::random().text();
    entry.kind = kind;
    entry.text = std::move(text);
    entry.createdAt = Instant::now();
    return entry;
}

} // namespace tessarin
