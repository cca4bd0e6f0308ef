#include "Views/ImagineListModel.h"

#include "Views/ImagineRules.h"
#include "Views/RelativeTime.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

namespace tessarin
{

ImagineListModel::ImagineListModel(InstantSource now, QObject* parent)
    : QAbstractListModel(parent), m_now(std::move(now)), m_moment(m_now())
{
}

void ImagineListModel::setItems(const std::vector<ImagineItem>& items)
{
    const std::size_t earlierCount = m_items.size();
    refreshTimes();
    removeMissing(items);
    if (m_items.empty() && !items.empty()) { // a library that is just loaded comes as one
        beginInsertRows({}, 0, static_cast<int>(items.size()) - 1);
        m_items = items;
        endInsertRows();
    }
    for (std::size_t at = 0; at < items.size(); ++at) {
        placeItem(at, items[at]);
    }
    if (m_items.size() > items.size()) { // a stored history may tell one id twice
        beginRemoveRows({}, static_cast<int>(items.size()), static_cast<int>(m_items.size()) - 1);
        m_items.resize(items.size());
        endRemoveRows();
    }
    if (m_items.size() != earlierCount) {
        emit countChanged();
    }
}

void ImagineListModel::removeMissing(const std::vector<ImagineItem>& items)
{
    std::set<Uuid> kept;
    for (const ImagineItem& item : items) {
        kept.insert(item.id);
    }
    for (std::size_t at = m_items.size(); at-- > 0;) {
        if (!kept.contains(m_items[at].id)) {
            beginRemoveRows({}, static_cast<int>(at), static_cast<int>(at));
            m_items.erase(m_items.begin() + static_cast<std::ptrdiff_t>(at));
            endRemoveRows();
        }
    }
}

// Brings the item to its place, from further down or as a new one.
void ImagineListModel::placeItem(std::size_t at, const ImagineItem& item)
{
    const auto begin = m_items.begin() + static_cast<std::ptrdiff_t>(at);
    const auto found = std::find(begin, m_items.end(), item);
    const auto from = static_cast<std::size_t>(found - m_items.begin());
    if (found == m_items.end()) {
        beginInsertRows({}, static_cast<int>(at), static_cast<int>(at));
        m_items.insert(begin, item);
        endInsertRows();
    } else if (from != at) {
        beginMoveRows({}, static_cast<int>(from), static_cast<int>(from), {}, static_cast<int>(at));
        std::rotate(begin, found, found + 1);
        endMoveRows();
    }
}

// Whatever is shown reads its time again: with thousands of items that is less work than to find out which of them differ.
void ImagineListModel::refreshTimes()
{
    constexpr double fewSeconds = 5;
    const Instant now = m_now();
    if (std::abs(now.secondsSince2001 - m_moment.secondsSince2001) < fewSeconds) {
        return;
    }
    m_moment = now;
    if (!m_items.empty()) {
        emit dataChanged(index(0), index(count() - 1), { CreatedRole });
    }
}

const ImagineItem* ImagineListModel::itemWithID(const Uuid& id) const
{
    const auto found = std::find_if(m_items.begin(), m_items.end(), [&](const ImagineItem& item) { return item.id == id; });
    return found == m_items.end() ? nullptr : &*found;
}

int ImagineListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant ImagineListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    const ImagineItem& item = m_items[static_cast<std::size_t>(index.row())];
    switch (role) {
    case IdRole:
        return QString::fromStdString(item.id.text());
    case PromptRole:
        return QString::fromStdString(item.prompt);
    case ExcerptRole:
        return ImagineRules::excerpt(QString::fromStdString(item.prompt));
    case CreatedRole:
        return relativeTime(item.createdAt, m_moment);
    case FormatRole:
        return ImagineRules::format(item.kind);
    case PicturePathRole:
        return item.kind == ImagineKind::image ? QString::fromStdString(item.localPath) : QString();
    default:
        return {};
    }
}

QHash<int, QByteArray> ImagineListModel::roleNames() const
{
    return { { IdRole, "itemID" }, { PromptRole, "prompt" }, { ExcerptRole, "excerpt" }, { CreatedRole, "created" },
        { FormatRole, "format" }, { PicturePathRole, "picturePath" } };
}

} // namespace tessarin
