#include "Views/ThreadListModel.h"

#include "Views/RelativeTime.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

namespace tessarin
{

ThreadListModel::ThreadListModel(InstantSource now, QObject* parent) : QAbstractListModel(parent), m_now(std::move(now)), m_moment(m_now())
{
}

ThreadListModel::Row ThreadListModel::rowOf(const Uuid& workspaceID, const ChatThread& thread)
{
    return { workspaceID, thread.id, thread.title, thread.entries.empty() ? std::nullopt : std::optional(thread.updatedAt) };
}

std::vector<ThreadListModel::Row> ThreadListModel::rowsOf(const std::vector<Workspace>& workspaces)
{
    std::vector<Row> rows;
    for (const Workspace& workspace : workspaces) {
        rows.push_back({ workspace.id, std::nullopt, workspace.name, std::nullopt });
        for (const ChatThread& thread : workspace.threads) {
            rows.push_back(
                { workspace.id, thread.id, thread.title, thread.entries.empty() ? std::nullopt : std::optional(thread.updatedAt) });
        }
    }
    return rows;
}

void ThreadListModel::setWorkspaces(const std::vector<Workspace>& workspaces)
{
    const std::vector<Row> rows = rowsOf(workspaces);
    refreshTimes();
    const bool isSameList = rows.size() == m_rows.size()
        && std::equal(rows.begin(), rows.end(), m_rows.begin(), [](const Row& left, const Row& right) { return left.isSameRow(right); });
    if (!isSameList) {
        removeMissing(rows);
    }
    for (std::size_t at = 0; at < rows.size(); ++at) {
        placeRow(at, rows[at]);
    }
}

void ThreadListModel::removeMissing(const std::vector<Row>& rows)
{
    using Identity = std::pair<Uuid, std::optional<Uuid>>;
    std::set<Identity> kept;
    for (const Row& row : rows) {
        kept.emplace(row.workspaceID, row.threadID);
    }
    const auto isMissing = [&](const Row& row) { return !kept.contains(Identity(row.workspaceID, row.threadID)); };
    // A section goes as one: a list that has a heading as its current row and loses the rows of that section one by one keeps some.
    for (std::size_t end = m_rows.size(), begin = end; end > 0; end = begin == 0 ? 0 : begin - 1) {
        begin = end;
        while (begin > 0 && isMissing(m_rows[begin - 1])) {
            --begin;
        }
        if (begin < end) {
            beginRemoveRows({}, static_cast<int>(begin), static_cast<int>(end) - 1);
            m_rows.erase(m_rows.begin() + static_cast<std::ptrdiff_t>(begin), m_rows.begin() + static_cast<std::ptrdiff_t>(end));
            endRemoveRows();
        }
    }
}

// Brings the row to its place, from further down or as a new one, and tells what else differs.
void ThreadListModel::placeRow(std::size_t at, const Row& row)
{
    const auto begin = m_rows.begin() + static_cast<std::ptrdiff_t>(at);
    const auto found = std::find_if(begin, m_rows.end(), [&](const Row& candidate) { return candidate.isSameRow(row); });
    const auto from = static_cast<std::size_t>(found - m_rows.begin());
    if (found == m_rows.end()) {
        beginInsertRows({}, static_cast<int>(at), static_cast<int>(at));
        m_rows.insert(begin, row);
        endInsertRows();
        return;
    }
    if (from != at) {
        beginMoveRows({}, static_cast<int>(from), static_cast<int>(from), {}, static_cast<int>(at));
        std::rotate(begin, found, found + 1);
        endMoveRows();
    }
    changeRow(at, row);
}

void ThreadListModel::changeRow(std::size_t at, const Row& row)
{
    const Row earlier = std::exchange(m_rows[at], row);
    if (earlier.title != row.title) {
        tellRow(at, { TitleRole });
    }
    if (earlier.updatedAt != row.updatedAt) {
        tellRow(at, { UpdatedRole });
    }
}

void ThreadListModel::setThread(const Uuid& workspaceID, const ChatThread& thread)
{
    const Row row = rowOf(workspaceID, thread);
    const auto found = std::find_if(m_rows.begin(), m_rows.end(), [&](const Row& candidate) { return candidate.isSameRow(row); });
    refreshTimes();
    if (found != m_rows.end()) {
        changeRow(static_cast<std::size_t>(found - m_rows.begin()), row);
    }
}

void ThreadListModel::setSelection(const std::optional<Uuid>& workspaceID, const std::optional<Uuid>& threadID)
{
    std::vector<bool> wasCurrent;
    for (const Row& row : m_rows) {
        wasCurrent.push_back(isCurrent(row));
    }
    const bool isMoved = m_workspaceID != workspaceID || m_threadID != threadID;
    m_workspaceID = workspaceID;
    m_threadID = threadID;
    for (std::size_t at = 0; at < m_rows.size(); ++at) {
        if (isCurrent(m_rows[at]) != wasCurrent[at]) {
            tellRow(at, { CurrentRole });
        }
    }
    if (isMoved) {
        emit selectionMoved();
    }
}

int ThreadListModel::currentRow() const
{
    const auto found = std::find_if(m_rows.begin(), m_rows.end(), [this](const Row& row) { return isCurrent(row); });
    return found == m_rows.end() ? -1 : static_cast<int>(found - m_rows.begin());
}

std::optional<ThreadListModel::Task> ThreadListModel::taskBeside(int count) const
{
    std::vector<Task> tasks;
    int wanted = count < 0 ? count : count - 1;
    for (const Row& row : m_rows) {
        if (isCurrent(row)) {
            wanted = static_cast<int>(tasks.size()) + count;
        }
        if (row.threadID) {
            tasks.push_back({ row.workspaceID, *row.threadID });
        }
    }
    const bool isThere = wanted >= 0 && static_cast<std::size_t>(wanted) < tasks.size();
    return isThere ? std::optional(tasks[static_cast<std::size_t>(wanted)]) : std::nullopt;
}

void ThreadListModel::refreshTimes()
{
    constexpr double fewSeconds = 5;
    const Instant now = m_now();
    if (std::abs(now.secondsSince2001 - m_moment.secondsSince2001) < fewSeconds) {
        return;
    }
    const Instant earlier = std::exchange(m_moment, now);
    for (std::size_t at = 0; at < m_rows.size(); ++at) {
        const auto& updatedAt = m_rows[at].updatedAt;
        if (updatedAt && relativeTime(*updatedAt, earlier) != relativeTime(*updatedAt, m_moment)) {
            tellRow(at, { UpdatedRole });
        }
    }
}

bool ThreadListModel::isCurrent(const Row& row) const
{
    return row.threadID && m_workspaceID == row.workspaceID && m_threadID == row.threadID;
}

void ThreadListModel::tellRow(std::size_t at, const QList<int>& roles)
{
    const QModelIndex changed = index(static_cast<int>(at));
    emit dataChanged(changed, changed, roles);
}

int ThreadListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant ThreadListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    const Row& row = m_rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case IsProjectRole:
        return !row.threadID.has_value();
    case TitleRole:
        return QString::fromStdString(row.title);
    case UpdatedRole:
        return row.updatedAt ? relativeTime(*row.updatedAt, m_moment) : QString();
    case CurrentRole:
        return isCurrent(row);
    case WorkspaceIDRole:
        return QString::fromStdString(row.workspaceID.text());
    case ThreadIDRole:
        return row.threadID ? QString::fromStdString(row.threadID->text()) : QString();
    default:
        return {};
    }
}

QHash<int, QByteArray> ThreadListModel::roleNames() const
{
    return { { IsProjectRole, "isProject" }, { TitleRole, "title" }, { UpdatedRole, "updated" }, { CurrentRole, "current" },
        { WorkspaceIDRole, "workspaceID" }, { ThreadIDRole, "threadID" } };
}

} // namespace tessarin
