#pragma once

#include <QQuickItem>
#include <qqmlintegration.h>

namespace tessarin
{

// A row that stands among its siblings where its order says. A list makes its rows as they come into sight, and the focus of the keyboard
// goes through siblings in the order in which they were made, which would not be the order in which they are seen. It is a focus scope:
// the focus that comes to the row goes on to what in it has asked for it.
class OrderedItem : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int order READ order WRITE setOrder NOTIFY orderChanged)
public:
    explicit OrderedItem(QQuickItem* parent = nullptr);
    ~OrderedItem() override;

    [[nodiscard]] int order() const { return m_order; }
    void setOrder(int order);

signals:
    void orderChanged();

protected:
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    void takePlace();

    int m_order = 0;
};

} // namespace tessarin
