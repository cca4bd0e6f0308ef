#pragma once

#include <QQmlComponent>
#include <QQuickItem>

#include <functional>

namespace tessarin
{

// Makes what the component describes, in the context in which the component is written, so that it may be bound to the objects around it.
// It belongs to `owner`, and is a child of it when it is an item. `begin` is called before its bindings are evaluated, so that it can be
// given its place and its size. Null, with a warning, when it cannot be made.
[[nodiscard]] QObject* createWithin(
    QQuickItem& owner, QQmlComponent& component, const QVariantMap& properties, const std::function<void(QObject*)>& begin);

// What is given up may be what asked for it: it is out of sight at once, tells `owner` nothing more, and goes with the next turn of the
// loop.
void giveUpWithin(QQuickItem& owner, QObject& object);

} // namespace tessarin
