#include "Views/ItemCreation.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlIncubator>

namespace tessarin
{

namespace
{

// A component that creates by itself keeps what it needed for that, some ten KB, as long as it lives.
class Creation : public QQmlIncubator
{
public:
    Creation(QQuickItem& owner, const std::function<void(QObject*)>& begin) : QQmlIncubator(Synchronous), m_owner(owner), m_begin(begin) { }

protected:
    void setInitialState(QObject* object) override
    {
        QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
        object->setParent(&m_owner);
        if (auto* item = qobject_cast<QQuickItem*>(object)) {
            item->setParentItem(&m_owner);
        }
        m_begin(object);
    }

private:
    QQuickItem& m_owner;
    const std::function<void(QObject*)>& m_begin;
};

} // namespace

QObject* createWithin(
    QQuickItem& owner, QQmlComponent& component, const QVariantMap& properties, const std::function<void(QObject*)>& begin)
{
    Creation creation(owner, begin);
    creation.setInitialProperties(properties);
    QQmlContext* context = component.creationContext();
    component.create(creation, context != nullptr ? context : qmlContext(&owner));
    for (const QQmlError& error : creation.errors()) {
        qWarning("%s", qPrintable(error.toString()));
    }
    return creation.object();
}

void giveUpWithin(QQuickItem& owner, QObject& object)
{
    if (auto* item = qobject_cast<QQuickItem*>(&object)) {
        item->disconnect(&owner);
        item->setParentItem(nullptr);
    }
    object.deleteLater();
}

} // namespace tessarin
