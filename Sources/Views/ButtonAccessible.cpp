#include "Views/ButtonAccessible.h"

#include "Views/StateTeller.h"

#include <QQuickWindow>

namespace tessarin
{

namespace
{

// What QML calls the `Accessible` of an item; null for one that says nothing of itself.
QObject* attachedTo(const QObject* item)
{
    for (QObject* child : item->children()) {
        if (child->inherits("QQuickAccessibleAttached")) {
            return child;
        }
    }
    return nullptr;
}

bool isTrue(const QObject* object, const char* property)
{
    return object != nullptr && object->property(property).toBool();
}

bool isButton(const QObject* object)
{
    return object->inherits("QQuickAbstractButton");
}

QAccessibleInterface* makeFor(const QString&, QObject* object)
{
    return object != nullptr && isButton(object) ? new ButtonAccessible(static_cast<QQuickItem*>(object)) : nullptr;
}

} // namespace

void ButtonAccessible::install()
{
    QAccessible::installFactory(makeFor);
}

ButtonAccessible::ButtonAccessible(QQuickItem* button) : QAccessibleObject(button)
{
    StateTeller::follow(*button);
}

QQuickItem* ButtonAccessible::button() const
{
    return static_cast<QQuickItem*>(object());
}

// The nearest item around it that a screen reader knows, else the window.
QAccessibleInterface* ButtonAccessible::parent() const
{
    for (QQuickItem* item = button()->parentItem(); item != nullptr; item = item->parentItem()) {
        if (attachedTo(item) != nullptr && !isTrue(attachedTo(item), "ignored")) {
            return QAccessible::queryAccessibleInterface(item);
        }
    }
    return QAccessible::queryAccessibleInterface(button()->window());
}

QWindow* ButtonAccessible::window() const
{
    return button()->window();
}

QAccessibleInterface* ButtonAccessible::child(int) const
{
    return nullptr;
}

int ButtonAccessible::indexOfChild(const QAccessibleInterface*) const
{
    return -1;
}

QRect ButtonAccessible::rect() const
{
    if (button()->window() == nullptr) {
        return {};
    }
    const QRectF place = button()->mapRectToScene(QRectF(QPointF(), button()->size()));
    return { button()->window()->mapToGlobal(place.topLeft().toPoint()), place.size().toSize() };
}

QString ButtonAccessible::text(QAccessible::Text kind) const
{
    const QObject* attached = attachedTo(object());
    if (attached != nullptr && kind == QAccessible::Description) {
        return attached->property("description").toString();
    }
    if (kind != QAccessible::Name) {
        return {};
    }
    const QString name = attached == nullptr ? QString() : attached->property("name").toString();
    return name.isEmpty() ? object()->property("text").toString() : name;
}

// A control keeps its own role to itself until somebody listens; those that can be another one have to be known before.
QAccessible::Role ButtonAccessible::role() const
{
    if (object()->inherits("QQuickRadioButton")) {
        return QAccessible::RadioButton;
    }
    if (object()->inherits("QQuickCheckBox")) {
        return QAccessible::CheckBox;
    }
    const QObject* attached = attachedTo(object());
    const auto role = attached == nullptr ? QAccessible::NoRole : static_cast<QAccessible::Role>(attached->property("role").toInt());
    return role == QAccessible::NoRole ? QAccessible::Button : role;
}

QAccessible::State ButtonAccessible::state() const
{
    QAccessible::State state;
    addLook(state);
    addMeaning(state);
    return state;
}

void ButtonAccessible::addLook(QAccessible::State& state) const
{
    const QQuickWindow* window = button()->window();
    state.invisible = window == nullptr || !window->isVisible() || !button()->isVisible() || qFuzzyIsNull(button()->opacity());
    state.offscreen = window != nullptr && !rect().intersects(QRect(window->mapToGlobal(QPoint()), window->size()));
    state.disabled = !button()->isEnabled();
    state.focusable = button()->activeFocusOnTab() || button()->property("focusPolicy").toInt() != Qt::NoFocus;
    state.focused = button()->hasActiveFocus();
    state.pressed = isTrue(object(), "down");
}

void ButtonAccessible::addMeaning(QAccessible::State& state) const
{
    const QObject* attached = attachedTo(object());
    state.checkable = isTrue(object(), "checkable");
    state.checked = isTrue(object(), "checked");
    state.selectable = isTrue(attached, "selectable");
    state.selected = isTrue(attached, "selected");
    state.hasPopup = isTrue(object(), "menu");
    state.expandable = StateTeller::isExpandable(*object());
    state.expanded = state.expandable && isTrue(object(), "expanded");
    state.collapsed = state.expandable && !state.expanded;
}

void* ButtonAccessible::interface_cast(QAccessible::InterfaceType type)
{
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
}

QStringList ButtonAccessible::actionNames() const
{
    return { pressAction(), setFocusAction() };
}

// For a radio button and a check box of Qt 6.4 the handler of a press is not called.
void ButtonAccessible::press()
{
    if (role() == QAccessible::RadioButton || role() == QAccessible::CheckBox) {
        QMetaObject::invokeMethod(object(), "clicked");
    } else {
        QMetaObject::invokeMethod(attachedTo(object()), "pressAction");
    }
}

void ButtonAccessible::doAction(const QString& name)
{
    if (name == setFocusAction()) {
        button()->forceActiveFocus(Qt::TabFocusReason);
    } else if (name == pressAction() && button()->isEnabled()) {
        press();
    }
}

QStringList ButtonAccessible::keyBindingsForAction(const QString&) const
{
    return {};
}

} // namespace tessarin
