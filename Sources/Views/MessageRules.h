#pragma once

#include "Models/ChatEntry.h"

#include <QObject>
#include <qqmlintegration.h>

#include <optional>
#include <vector>

namespace tessarin
{

// How far a row stands below the one before it. The theme gives each its size.
class RowGap : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("RowGap is a set of values")
public:
    enum Value { None, Tight, Normal, Answer, Wide };
    Q_ENUM(Value)
};

// How the list of entries hangs together.
namespace MessageRules
{

// The gap above a row of `kind` that follows a row of `before`, absent for the first row.
[[nodiscard]] RowGap::Value gapAbove(std::optional<ChatEntryKind> before, ChatEntryKind kind);

// Whether the list follows an entry that has just been appended: the text of the last entry is another one than before.
// A new tool card without text brings nothing to read and does not scroll.
[[nodiscard]] bool scrollsForAppended(const std::vector<ChatEntry>& entries);

} // namespace MessageRules

} // namespace tessarin
