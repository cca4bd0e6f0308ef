#include "Views/OrderedItem.h"

namespace tessarin
{

OrderedItem::OrderedItem(QQuickItem* parent) : QQuickItem(parent)
{
    setFlag(ItemIsFocusScope);
}

OrderedItem::~OrderedItem() = default;

void OrderedItem::setOrder(int order)
{
    if (order != m_order) {
        m_order = order;
        takePlace();
        emit orderChanged();
    }
}

void OrderedItem::itemChange(ItemChange change, const ItemChangeData& data)
{
    if (change == ItemParentHasChanged) {
        takePlace();
    }
    QQuickItem::itemChange(change, data);
}

// The others are in their order already.
void OrderedItem::takePlace()
{
    if (parentItem() == nullptr) {
        return;
    }
    const OrderedItem* last = nullptr;
    const QList<QQuickItem*> siblings = parentItem()->childItems();
    for (const QQuickItem* sibling : siblings) {
        const auto* row = qobject_cast<const OrderedItem*>(sibling);
        if (row == nullptr || row == this) {
            continue;
        }
        if (row->m_order > m_order) {
            stackBefore(row);
            return;
        }
        last = row;
    }
    if (last != nullptr) {
        stackAfter(last);
    }
}

} // namespace tessarin
