#include "Views/PlanListModel.h"

#include "Views/PlanRules.h"

#include <algorithm>

namespace tessarin
{

void PlanListModel::setEntries(const std::vector<PlanEntry>& entries)
{
    const std::size_t shared = std::min(m_entries.size(), entries.size());
    for (std::size_t i = 0; i < shared; ++i) {
        if (m_entries[i] != entries[i]) {
            m_entries[i] = entries[i];
            const QModelIndex changed = index(static_cast<int>(i));
            emit dataChanged(changed, changed);
        }
    }
    if (m_entries.size() > shared) {
        beginRemoveRows({}, static_cast<int>(shared), static_cast<int>(m_entries.size()) - 1);
        m_entries.resize(shared);
        endRemoveRows();
    } else if (entries.size() > shared) {
        beginInsertRows({}, static_cast<int>(shared), static_cast<int>(entries.size()) - 1);
        m_entries.insert(m_entries.end(), entries.begin() + static_cast<std::ptrdiff_t>(shared), entries.end());
        endInsertRows();
    }
}

int PlanListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_entries.size());
}

QVariant PlanListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    const PlanEntry& entry = m_entries[static_cast<std::size_t>(index.row())];
    switch (role) {
    case ContentRole:
        return QString::fromStdString(entry.content);
    case SymbolRole:
        return PlanRules::symbol(entry.status);
    case TintRole:
        return PlanRules::tint(entry.status);
    case StatusRole:
        return PlanRules::statusWord(entry.status);
    default:
        return {};
    }
}

QHash<int, QByteArray> PlanListModel::roleNames() const
{
    return { { ContentRole, "content" }, { SymbolRole, "symbol" }, { TintRole, "tint" }, { StatusRole, "status" } };
}

} // namespace tessarin
