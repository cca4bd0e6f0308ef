#include "Views/LazyItem.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlIncubator>

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

// What is given up may be what asked for it, so it goes with the next turn of the loop, and is out of sight at once.
void LazyItem::renew()
{
    if (!isComponentComplete()) {
        return;
    }
    if (m_object != nullptr) {
        if (auto* item = qobject_cast<QQuickItem*>(m_object)) {
            item->disconnect(this);
            item->setParentItem(nullptr);
        }
        m_object->deleteLater();
        m_object = nullptr;
    }
    if (m_isActive && m_component != nullptr) {
        create();
    }
    takeImplicitSize();
    emit objectChanged();
}

// A component that creates by itself keeps what it needed for that, some ten KB, as long as it lives.
class LazyItem::Creation : public QQmlIncubator
{
public:
    explicit Creation(LazyItem& item) : QQmlIncubator(Synchronous), m_item(item) { }

protected:
    void setInitialState(QObject* object) override { m_item.hold(object); }

private:
    LazyItem& m_item;
};

void LazyItem::create()
{
    Creation creation(*this);
    QQmlContext* context = m_component->creationContext();
    m_component->create(creation, context != nullptr ? context : qmlContext(this));
    for (const QQmlError& error : creation.errors()) {
        qWarning("%s", qPrintable(error.toString()));
    }
    if (auto* item = qobject_cast<QQuickItem*>(m_object)) {
        connect(item, &QQuickItem::implicitWidthChanged, this, &LazyItem::takeImplicitSize);
        connect(item, &QQuickItem::implicitHeightChanged, this, &LazyItem::takeImplicitSize);
    }
}

// It has its place and its size before its bindings are evaluated.
void LazyItem::hold(QObject* object)
{
    m_object = object;
    QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
    object->setParent(this);
    if (auto* item = qobject_cast<QQuickItem*>(object)) {
        item->setParentItem(this);
        fit();
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
