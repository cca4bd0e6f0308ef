#pragma once

#include "Models/PlanEntry.h"

#include <QAbstractListModel>
#include <qqmlintegration.h>

#include <vector>

namespace tessarin
{

// The steps of the plan. A new plan changes only the rows that differ.
class PlanListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The conversation makes its plan")
public:
    enum Role { ContentRole = Qt::UserRole, SymbolRole, TintRole, StatusRole };

    using QAbstractListModel::QAbstractListModel;

    void setEntries(const std::vector<PlanEntry>& entries);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

private:
    std::vector<PlanEntry> m_entries;
};

} // namespace tessarin
