#pragma once

#include <QQuickItem>
#include <qqmlintegration.h>

namespace tessarin
{

// Stacks its children below each other, each as wide as itself; its own implicit size is that of the widest
// and of all heights. Unlike a Column it does so at once when a
// height changes, not with the next frame, so that a list can scroll to its end in the same step in which its last row has grown.
class BlockStack : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
public:
    explicit BlockStack(QQuickItem* parent = nullptr);
    ~BlockStack() override;

protected:
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;

private:
    void stack();
    bool m_isStacking = false;
};

} // namespace tessarin
