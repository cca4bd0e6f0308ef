#pragma once

#include <QPointer>
#include <QQmlComponent>
#include <QQuickItem>
#include <qqmlintegration.h>

namespace tessarin
{

// Holds what exists only while it is wanted. Like a Loader, but it creates the component in the context in which it is written, so that
// components may be bound to the objects around them, which a Loader of Qt 6.4 refuses. What it holds may also be a popup.
class LazyItem : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool active READ isActive WRITE setActive NOTIFY activeChanged)
    Q_PROPERTY(QQmlComponent* sourceComponent READ sourceComponent WRITE setSourceComponent NOTIFY sourceComponentChanged)
    Q_PROPERTY(QObject* object READ object NOTIFY objectChanged)
public:
    explicit LazyItem(QQuickItem* parent = nullptr);
    ~LazyItem() override;

    [[nodiscard]] bool isActive() const { return m_isActive; }
    void setActive(bool isActive);
    [[nodiscard]] QQmlComponent* sourceComponent() const { return m_component; }
    void setSourceComponent(QQmlComponent* component);
    [[nodiscard]] QObject* object() const { return m_object; }

signals:
    void activeChanged();
    void sourceComponentChanged();
    void objectChanged();

protected:
    void componentComplete() override;
    void geometryChange(const QRectF& now, const QRectF& before) override;

private:
    void renew();
    void create();
    void fit();
    // That of what is held, or none.
    void takeImplicitSize();

    bool m_isActive = true;
    QPointer<QQmlComponent> m_component;
    QPointer<QObject> m_object;
};

} // namespace tessarin
