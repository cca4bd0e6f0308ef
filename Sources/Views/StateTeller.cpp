#include "Views/StateTeller.h"

#include "Views/AccessibleEvent.h"

#include <QAccessible>
#include <QMetaProperty>
#include <QQuickItem>

namespace tessarin
{

void StateTeller::follow(QQuickItem& button)
{
    new StateTeller(button); // owned by the button
}

bool StateTeller::isExpandable(const QObject& button)
{
    const QVariant expandable = button.property("expandable");
    return button.property("expanded").isValid() && (!expandable.isValid() || expandable.toBool());
}

StateTeller::StateTeller(QQuickItem& button) : QObject(&button), m_button(button)
{
    connect(&button, &QQuickItem::enabledChanged, this, &StateTeller::tellEnabled);
    const QMetaObject& type = *button.metaObject();
    const QMetaProperty expanded = type.property(type.indexOfProperty("expanded"));
    if (expanded.hasNotifySignal()) {
        connect(&button, expanded.notifySignal(), this, staticMetaObject.method(staticMetaObject.indexOfSlot("tellExpanded()")));
    }
}

void StateTeller::tellExpanded()
{
    if (isExpandable(m_button)) {
        AccessibleEvent::tellState(m_button, "expanded", m_button.property("expanded").toBool());
    }
}

void StateTeller::tellEnabled()
{
    QAccessible::State changed;
    changed.disabled = true;
    QAccessibleStateChangeEvent event(&m_button, changed);
    QAccessible::updateAccessibility(&event);
}

} // namespace tessarin
