#include "Views/LazyItem.h"

#include "Views/ItemCreation.h"

namespace tessarin
{

LazyItem::LazyItem(QQuickItem* parent) : QQuickItem(parent)
{
    setFlag(ItemIsFocusScope);
}

LazyItem::~LazyItem() = default;

void LazyItem::setActive(bool isActive)
{
    if (isActive != m_isActive) {
        m_isActive = isActive;
        renew();
        emit activeChanged();
    }
}

void LazyItem::setSourceComponent(QQmlComponent* component)
{
    if (component != m_component) {
        m_component = component;
        renew();
        emit sourceComponentChanged();
    }
}

void LazyItem::componentComplete()
{
    QQuickItem::componentComplete();
    renew();
}

void LazyItem::renew()
{
    if (!isComponentComplete()) {
        return;
    }
    if (m_object != nullptr) {
        giveUpWithin(*this, *m_object);
        m_object = nullptr;
    }
    if (m_isActive && m_component != nullptr) {
        create();
    }
    takeImplicitSize();
    emit objectChanged();
}

void LazyItem::create()
{
    const auto begin = [this](QObject* object) {
        m_object = object;
        fit();
    };
    auto* item = qobject_cast<QQuickItem*>(createWithin(*this, *m_component, {}, begin));
    if (item != nullptr) {
        connect(item, &QQuickItem::implicitWidthChanged, this, &LazyItem::takeImplicitSize);
        connect(item, &QQuickItem::implicitHeightChanged, this, &LazyItem::takeImplicitSize);
    }
}

void LazyItem::geometryChange(const QRectF& now, const QRectF& before)
{
    QQuickItem::geometryChange(now, before);
    fit();
}

void LazyItem::fit()
{
    if (auto* item = qobject_cast<QQuickItem*>(m_object)) {
        if (widthValid()) {
            item->setWidth(width());
        }
        if (heightValid()) {
            item->setHeight(height());
        }
    }
}

void LazyItem::takeImplicitSize()
{
    const auto* item = qobject_cast<QQuickItem*>(m_object);
    // Not both at once: who hears of the width may give another one, which gives another height before the first has been set.
    setImplicitHeight(item == nullptr ? 0 : item->implicitHeight());
    setImplicitWidth(item == nullptr ? 0 : item->implicitWidth());
}

} // namespace tessarin
