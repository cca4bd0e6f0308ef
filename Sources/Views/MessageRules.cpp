#include "Views/MessageRules.h"

namespace tessarin::MessageRules
{

RowGap::Value gapAbove(std::optional<ChatEntryKind> before, ChatEntryKind kind)
{
    if (!before) {
        return RowGap::None;
    }
    if (*before == ChatEntryKind::tool && kind == ChatEntryKind::tool) {
        return RowGap::Tight;
    }
    for (const ChatEntryKind separate : { ChatEntryKind::user, ChatEntryKind::system }) {
        if (*before == separate || kind == separate) {
            return RowGap::Wide;
        }
    }
    return kind == ChatEntryKind::assistant ? RowGap::Answer : RowGap::Normal;
}

bool scrollsForAppended(const std::vector<ChatEntry>& entries)
{
    if (entries.empty()) {
        return false;
    }
    const ChatEntry& last = entries.back();
    if (last.kind == ChatEntryKind::tool && last.text.empty()) {
        return false;
    }
    return entries.size() == 1 || last.text != entries[entries.size() - 2].text;
}

} // namespace tessarin::MessageRules
