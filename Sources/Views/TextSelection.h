#pragma once

#include "Views/BlockStack.h"

#include <QList>
#include <QPointF>
#include <QPointer>

namespace tessarin
{

class PagedText;

// Stacks the texts of one message, and lets a selection run across them. Each text selects within itself as it always does; when the
// pointer is drawn beyond the text in which it was pressed, the area selects the end of that text, all of those between, and the begin of
// the one that the pointer is in. The keys that copy and that select all then act upon the whole message. A selection lasts until the
// person presses elsewhere in a message or goes on with another control.
// Qt 6.4 looks for the base by its name as it is written here: without the namespace `qmllint` takes this for no item.
class TextSelection : public tessarin::BlockStack
{
    Q_OBJECT
    QML_ELEMENT
    // Whether all of the message is selected, so that all of its texts have to exist.
    Q_PROPERTY(bool isWhole READ isWhole NOTIFY wholeChanged)
    // A text in pages, of which only those that are seen exist.
    Q_PROPERTY(tessarin::PagedText* pages MEMBER m_pages)
    Q_MOC_INCLUDE("Views/PagedText.h")
    Q_PROPERTY(bool hasSelection READ hasSelection NOTIFY selectionChanged)
    // Whether the keys have come here by `takeKeys` and are still here.
    Q_PROPERTY(bool hasKeys READ hasKeys NOTIFY keysChanged)
public:
    explicit TextSelection(QQuickItem* parent = nullptr);

    [[nodiscard]] bool hasSelection() const { return m_hasSelection; }
    [[nodiscard]] bool isWhole() const { return m_isWhole; }
    [[nodiscard]] bool hasKeys() const { return m_hasKeys; }
    // What is selected in all texts: between two of them stands the `separator` of the later one, before one that is selected from its
    // begin stands its `lead`.
    [[nodiscard]] Q_INVOKABLE QString selectedText() const;
    Q_INVOKABLE void copy() const;
    Q_INVOKABLE void selectAll();
    // Gives the keys to the first text: those that select all and that copy act upon this message. False when it has no text.
    Q_INVOKABLE bool takeKeys();

signals:
    void selectionChanged();
    void wholeChanged();
    void keysChanged();

protected:
    bool eventFilter(QObject* text, QEvent* event) override;
    bool childMouseEventFilter(QQuickItem* child, QEvent* event) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    struct Place {
        qsizetype text = 0; // among texts()
        int position = 0; // in that text
    };

    void becomeCurrent();
    void begin(QQuickItem* text, int position);
    bool press(QQuickItem* text, const QMouseEvent& event);
    bool move(const QMouseEvent& event);
    void release();
    void select(const QList<QQuickItem*>& texts, Place from, Place to);
    void clear(const QQuickItem* except = nullptr);
    void readSelection();
    void setWhole(bool isWhole);
    void setKeys(bool hasKeys);
    void giveUpFor(const QQuickItem* focused);
    [[nodiscard]] Place placeAt(const QList<QQuickItem*>& texts, QPointF scenePosition) const;
    // In the order in which they are read.
    [[nodiscard]] QList<QQuickItem*> texts() const;

    QPointer<QQuickItem> m_anchor; // where the pointer was pressed
    int m_anchorPosition = 0;
    bool m_isDrawn = false; // the pointer is down
    bool m_isAcross = false; // more than one text is selected
    bool m_isWhole = false;
    bool m_hasSelection = false;
    bool m_hasKeys = false;
    QPointer<PagedText> m_pages;
};

} // namespace tessarin
