#pragma once

#include "Models/Workspace.h"

#include <QAbstractListModel>
#include <qqmlintegration.h>

#include <optional>
#include <vector>

namespace tessarin
{

// The projects and their tasks for the sidebar, flat: the heading of a project, then its tasks. Rows keep their identity when the tree
// changes. Main thread only.
class ThreadListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its list of tasks")
public:
    struct Task {
        Uuid workspaceID;
        Uuid threadID;
    };
    enum Role { IsProjectRole = Qt::UserRole, TitleRole, UpdatedRole, CurrentRole, WorkspaceIDRole, ThreadIDRole };

    explicit ThreadListModel(InstantSource now, QObject* parent = nullptr);

    void setWorkspaces(const std::vector<Workspace>& workspaces);
    // One task has changed in itself; nothing happens when it has no row.
    void setThread(const Uuid& workspaceID, const ChatThread& thread);
    void setSelection(const std::optional<Uuid>& workspaceID, const std::optional<Uuid>& threadID);
    // The row of the selected task, or -1.
    Q_INVOKABLE [[nodiscard]] int currentRow() const;
    // The task that stands so many tasks below the selected one, or above for a negative number; absent beyond the ends. Without a
    // selected task the first one is below.
    [[nodiscard]] std::optional<Task> taskBeside(int count) const;
    // Reads the clock and tells the times that read differently now. Does nothing within a few seconds of the last time.
    void refreshTimes();

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void selectionMoved(); // another task is selected, or none

private:
    struct Row {
        Uuid workspaceID;
        std::optional<Uuid> threadID; // absent for the heading of a project
        std::string title;
        std::optional<Instant> updatedAt; // only for a task that has entries
        bool operator==(const Row&) const = default;
        [[nodiscard]] bool isSameRow(const Row& other) const { return workspaceID == other.workspaceID && threadID == other.threadID; }
    };

    [[nodiscard]] static Row rowOf(const Uuid& workspaceID, const ChatThread& thread);
    [[nodiscard]] static std::vector<Row> rowsOf(const std::vector<Workspace>& workspaces);
    void removeMissing(const std::vector<Row>& rows);
    void placeRow(std::size_t at, const Row& row);
    void changeRow(std::size_t at, const Row& row);
    [[nodiscard]] bool isCurrent(const Row& row) const;
    void tellRow(std::size_t at, const QList<int>& roles);

    InstantSource m_now;
    Instant m_moment; // when the times were read
    std::vector<Row> m_rows;
    std::optional<Uuid> m_workspaceID;
    std::optional<Uuid> m_threadID;
};

} // namespace tessarin
