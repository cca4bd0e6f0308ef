#include "Views/EntryListModel.h"

#include "Views/ConversationRules.h"
#include "Views/MessageRules.h"
#include "Views/ToolCardRules.h"

#include <algorithm>
#include <utility>

namespace tessarin
{

namespace
{

QVariant kindName(ChatEntryKind kind)
{
    const std::string_view name = rawText(kind);
    return QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size()));
}

QString symbolOf(const ChatEntry& entry)
{
    return entry.kind == ChatEntryKind::tool ? ToolCardRules::symbol(entry.title) : ConversationRules::avatarSymbol(entry.provider);
}

} // namespace

EntryListModel::EntryListModel(Source source, QObject* parent) : QAbstractListModel(parent), m_source(std::move(source))
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &EntryListModel::flush);
    noteReset();
}

void EntryListModel::noteReset()
{
    m_pending.clear();
    m_scrolls = false;
    m_timer.stop();
    beginResetModel();
    m_count = static_cast<int>(m_source().size());
    endResetModel();
    rememberLastText();
    emit countChanged();
}

void EntryListModel::noteAppended()
{
    m_scrolls = m_scrolls || MessageRules::scrollsForAppended(m_source());
    rememberLastText();
    gather();
}

void EntryListModel::noteTextAppended(std::size_t index)
{
    if (index + 1 == m_source().size()) {
        m_scrolls = true;
        m_lastTextHash.reset();
    }
    m_pending.try_emplace(index);
    gather();
}

void EntryListModel::noteChanged(std::size_t index)
{
    if (index + 1 == m_source().size()) {
        const auto earlier = m_lastTextHash;
        rememberLastText();
        m_scrolls = m_scrolls || earlier != m_lastTextHash;
    }
    m_pending[index].isReplaced = true;
    gather();
}

// Only the card of a tool is changed in place; hashing the long answers that merely grow would cost more with each chunk.
void EntryListModel::rememberLastText()
{
    const std::vector<ChatEntry>& entries = m_source();
    m_lastTextHash.reset();
    if (!entries.empty() && entries.back().kind == ChatEntryKind::tool) {
        m_lastTextHash = std::hash<std::string>()(entries.back().text);
    }
}

// The first change after a quiet moment is told at the next turn of the loop, those of a burst once a frame.
void EntryListModel::gather()
{
    if (m_timer.isActive()) {
        return;
    }
    const qint64 passed = m_sinceFlush.isValid() ? m_sinceFlush.elapsed() : frameMilliseconds;
    m_timer.start(static_cast<int>(std::clamp<qint64>(frameMilliseconds - passed, 0, frameMilliseconds)));
}

void EntryListModel::flush()
{
    m_timer.stop();
    m_sinceFlush.start();
    const auto pending = std::exchange(m_pending, {});
    for (const auto& [index, change] : pending) {
        if (const int row = static_cast<int>(index); row < m_count) {
            tellRow(row, change);
        }
    }
    if (const int size = static_cast<int>(m_source().size()); size > m_count) {
        beginInsertRows({}, m_count, size - 1);
        m_count = size;
        endInsertRows();
        emit countChanged();
    }
    if (std::exchange(m_scrolls, false)) {
        emit lastTextChanged();
    }
}

void EntryListModel::tellRow(int row, const Pending& pending)
{
    const QModelIndex changed = index(row);
    if (pending.isReplaced) {
        emit dataChanged(changed, changed, { TitleRole, StatusRole, StatusTintRole, SymbolRole, HasTextRole });
    } else {
        emit dataChanged(changed, changed, { HasTextRole });
    }
    emit entryTextChanged(row, !pending.isReplaced);
}

const ChatEntry* EntryListModel::entryAt(int row) const
{
    const std::vector<ChatEntry>& entries = m_source();
    const auto index = static_cast<std::size_t>(row);
    return row >= 0 && index < entries.size() ? &entries[index] : nullptr;
}

std::string_view EntryListModel::entryText(int row) const
{
    const ChatEntry* entry = entryAt(row);
    return entry == nullptr ? std::string_view() : entry->text;
}

int EntryListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_count;
}

QVariant EntryListModel::data(const QModelIndex& index, int role) const
{
    const ChatEntry* entry = index.isValid() ? entryAt(index.row()) : nullptr;
    if (entry == nullptr) {
        return {};
    }
    switch (role) {
    case KindRole:
        return kindName(entry->kind);
    case EntryIDRole:
        return QString::fromStdString(entry->id);
    case SpeakerRole:
        return ConversationRules::speaker(entry->provider);
    case TitleRole:
        return ToolCardRules::title(entry->title);
    case StatusRole:
        return ToolCardRules::statusWord(entry->status);
    case StatusTintRole:
        return ToolCardRules::tint(entry->status);
    case SymbolRole:
        return symbolOf(*entry);
    case HasTextRole:
        return !entry->text.empty();
    case GapRole: {
        const ChatEntry* before = entryAt(index.row() - 1);
        return MessageRules::gapAbove(before == nullptr ? std::nullopt : std::optional(before->kind), entry->kind);
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> EntryListModel::roleNames() const
{
    return { { KindRole, "kind" }, { EntryIDRole, "entryID" }, { SpeakerRole, "speaker" }, { TitleRole, "title" }, { StatusRole, "status" },
        { StatusTintRole, "statusTint" }, { SymbolRole, "symbol" }, { HasTextRole, "hasText" }, { GapRole, "gap" } };
}

} // namespace tessarin
