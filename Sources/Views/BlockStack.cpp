#include "Views/BlockStack.h"

#include <algorithm>

namespace tessarin
{

BlockStack::BlockStack(QQuickItem* parent) : QQuickItem(parent) { }

// Children that are let go of come into sight when this is out of sight, and would still tell it.
BlockStack::~BlockStack()
{
    const QList<QQuickItem*> children = childItems();
    for (QQuickItem* child : children) {
        child->disconnect(this);
    }
}

void BlockStack::itemChange(ItemChange change, const ItemChangeData& data)
{
    if (change == ItemChildAddedChange) {
        connect(data.item, &QQuickItem::heightChanged, this, &BlockStack::stack);
        connect(data.item, &QQuickItem::implicitWidthChanged, this, &BlockStack::stack);
        connect(data.item, &QQuickItem::visibleChanged, this, &BlockStack::stack);
        data.item->setWidth(width());
        stack();
    } else if (change == ItemChildRemovedChange) {
        data.item->disconnect(this);
        stack();
    }
    QQuickItem::itemChange(change, data);
}

void BlockStack::geometryChange(const QRectF& now, const QRectF& before)
{
    QQuickItem::geometryChange(now, before);
    if (now.width() != before.width()) {
        const QList<QQuickItem*> children = childItems();
        for (QQuickItem* child : children) {
            child->setWidth(now.width());
        }
    }
}

void BlockStack::stack()
{
    if (m_isStacking) {
        return;
    }
    m_isStacking = true;
    qreal y = 0;
    qreal width = 0;
    const QList<QQuickItem*> children = childItems();
    for (QQuickItem* child : children) {
        if (child->isVisible()) {
            child->setY(y);
            y += child->height();
            width = std::max(width, child->implicitWidth());
        }
    }
    m_isStacking = false;
    // Not both at once: who hears of the width may give another one, which gives another height before the first has been set.
    setImplicitHeight(y);
    setImplicitWidth(width);
}

} // namespace tessarin
