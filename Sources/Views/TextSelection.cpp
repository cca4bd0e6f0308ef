#include "Views/TextSelection.h"

#include "Views/PagedText.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickWindow>

#include <algorithm>
#include <utility>

namespace tessarin
{

namespace
{

// The one message in which something is selected.
QPointer<TextSelection>& current()
{
    static QPointer<TextSelection> area;
    return area;
}

bool isText(const QQuickItem* item)
{
    return item->inherits("QQuickTextEdit") && item->property("readOnly").toBool();
}

void gather(const QQuickItem* parent, QList<QQuickItem*>& texts)
{
    const QList<QQuickItem*> children = parent->childItems();
    for (QQuickItem* child : children) {
        if (!child->isVisible()) {
            continue;
        }
        if (isText(child)) {
            texts.append(child);
        } else {
            gather(child, texts);
        }
    }
}

int length(const QQuickItem* text)
{
    return text->property("length").toInt();
}

int positionAt(QQuickItem* text, QPointF scenePosition)
{
    const QPointF point = text->mapFromScene(scenePosition);
    int position = 0;
    QMetaObject::invokeMethod(text, "positionAt", Q_RETURN_ARG(int, position), Q_ARG(qreal, point.x()), Q_ARG(qreal, point.y()));
    return position;
}

void selectRange(QQuickItem* text, int begin, int end)
{
    QMetaObject::invokeMethod(text, "select", Q_ARG(int, begin), Q_ARG(int, end));
}

} // namespace

TextSelection::TextSelection(QQuickItem* parent) : BlockStack(parent)
{
    setFiltersChildMouseEvents(true);
}

QList<QQuickItem*> TextSelection::texts() const
{
    QList<QQuickItem*> found;
    gather(this, found);
    return found;
}

QString TextSelection::selectedText() const
{
    if (m_isWhole && m_pages != nullptr) {
        return m_pages->wholeText();
    }
    QString all;
    const QList<QQuickItem*> read = texts();
    for (const QQuickItem* text : read) {
        const QString part = text->property("selectedText").toString();
        if (part.isEmpty()) {
            continue;
        }
        if (!all.isEmpty()) {
            all += text->property("separator").toString();
        }
        if (m_isAcross && text->property("selectionStart").toInt() == 0) {
            all += text->property("lead").toString();
        }
        all += part;
    }
    return all;
}

void TextSelection::copy() const
{
    QGuiApplication::clipboard()->setText(selectedText());
}

void TextSelection::selectAll()
{
    setWhole(true);
    const QList<QQuickItem*> read = texts();
    if (!read.isEmpty()) {
        select(read, {}, { read.size() - 1, length(read.back()) });
        release();
    }
}

bool TextSelection::childMouseEventFilter(QQuickItem* child, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: {
        const auto& mouse = *static_cast<QMouseEvent*>(event);
        return mouse.button() == Qt::LeftButton && isText(child) && press(child, mouse);
    }
    case QEvent::MouseMove:
        return m_isDrawn && move(*static_cast<QMouseEvent*>(event));
    case QEvent::MouseButtonRelease:
    case QEvent::UngrabMouse:
        if (m_isDrawn) {
            m_isDrawn = false;
            // The text itself acts upon the release after this.
            QMetaObject::invokeMethod(this, &TextSelection::release, Qt::QueuedConnection);
        }
        return false;
    default:
        return false;
    }
}

// The text that has the focus knows of itself alone.
bool TextSelection::eventFilter(QObject* text, QEvent* event)
{
    if (event->type() != QEvent::KeyPress) {
        return BlockStack::eventFilter(text, event);
    }
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->matches(QKeySequence::SelectAll)) {
        selectAll();
        return true;
    }
    if (m_isAcross && key->matches(QKeySequence::Copy)) {
        copy();
        return true;
    }
    return BlockStack::eventFilter(text, event);
}

// With Shift the selection reaches from where it began to here; else a new one begins.
bool TextSelection::press(QQuickItem* text, const QMouseEvent& event)
{
    becomeCurrent();
    setKeys(false);
    m_isDrawn = true;
    if ((event.modifiers() & Qt::ShiftModifier) != 0 && m_anchor != nullptr && m_anchor != text) {
        move(event);
        m_isDrawn = false;
        release();
        return true;
    }
    begin(text, positionAt(text, event.scenePosition()));
    return false;
}

// There is one selection in the window.
void TextSelection::becomeCurrent()
{
    if (current() != nullptr && current() != this) {
        current()->clear();
    }
    current() = this;
}

void TextSelection::begin(QQuickItem* text, int position)
{
    clear(text);
    if (m_anchor != nullptr) {
        m_anchor->removeEventFilter(this);
    }
    text->installEventFilter(this);
    m_anchor = text;
    m_anchorPosition = position;
}

bool TextSelection::takeKeys()
{
    const QList<QQuickItem*> read = texts();
    if (read.isEmpty()) {
        return false;
    }
    becomeCurrent();
    begin(read.front(), 0);
    read.front()->forceActiveFocus(Qt::TabFocusReason);
    setKeys(true);
    return true;
}

void TextSelection::setKeys(bool hasKeys)
{
    if (m_hasKeys != hasKeys) {
        m_hasKeys = hasKeys;
        emit keysChanged();
    }
}

bool TextSelection::move(const QMouseEvent& event)
{
    const QList<QQuickItem*> read = texts();
    const qsizetype anchor = read.indexOf(m_anchor);
    if (anchor < 0) {
        return false;
    }
    const Place here = placeAt(read, event.scenePosition());
    if (here.text == anchor) {
        if (m_isAcross) {
            clear(m_anchor);
        }
        return false; // the text selects within itself
    }
    setWhole(false);
    select(read, { anchor, m_anchorPosition }, here);
    return true;
}

// The text that the point is in, else the one nearest to it in reading order.
TextSelection::Place TextSelection::placeAt(const QList<QQuickItem*>& texts, QPointF scenePosition) const
{
    qsizetype nearest = 0;
    for (qsizetype i = 0; i < texts.size(); ++i) {
        const QPointF point = texts[i]->mapFromScene(scenePosition);
        if (point.y() < 0) {
            break;
        }
        nearest = i;
        if (point.y() < texts[i]->height() && point.x() < texts[i]->width()) {
            break; // the first of those that stand side by side, as the cells of a table do
        }
    }
    const QPointF point = texts[nearest]->mapFromScene(scenePosition);
    if (point.y() >= texts[nearest]->height()) {
        return { nearest, length(texts[nearest]) };
    }
    return { nearest, point.y() < 0 ? 0 : positionAt(texts[nearest], scenePosition) };
}

void TextSelection::select(const QList<QQuickItem*>& texts, Place from, Place to)
{
    m_isAcross = true;
    for (qsizetype i = 0; i < texts.size(); ++i) {
        const bool isDownwards = from.text <= to.text;
        if (i < std::min(from.text, to.text) || i > std::max(from.text, to.text)) {
            selectRange(texts[i], 0, 0);
            continue;
        }
        // From where the selection began, so that the text goes on from there when the pointer comes back.
        const int begin = i == from.text ? from.position : isDownwards ? 0 : length(texts[i]);
        const int end = i == to.text ? to.position : isDownwards ? length(texts[i]) : 0;
        selectRange(texts[i], begin, end);
    }
}

void TextSelection::release()
{
    readSelection();
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (m_isAcross && clipboard->supportsSelection()) {
        clipboard->setText(selectedText(), QClipboard::Selection);
    }
}

void TextSelection::clear(const QQuickItem* except)
{
    const QList<QQuickItem*> read = texts();
    for (QQuickItem* text : read) {
        if (text != except) {
            QMetaObject::invokeMethod(text, "deselect");
        }
    }
    m_isAcross = false;
    setWhole(false);
    readSelection();
}

void TextSelection::readSelection()
{
    const QList<QQuickItem*> read = texts();
    const bool isSelected = std::any_of(
        read.begin(), read.end(), [](const QQuickItem* text) { return !text->property("selectedText").toString().isEmpty(); });
    if (isSelected) {
        current() = this;
    }
    if (isSelected != m_hasSelection) {
        m_hasSelection = isSelected;
        emit selectionChanged();
    }
}

void TextSelection::setWhole(bool isWhole)
{
    if (std::exchange(m_isWhole, isWhole) != isWhole) {
        emit wholeChanged();
    }
}

void TextSelection::itemChange(ItemChange change, const ItemChangeData& data)
{
    if (change == ItemSceneChange && data.window != nullptr) {
        connect(data.window, &QQuickWindow::activeFocusItemChanged, this,
            [this, window = data.window] { giveUpFor(window->activeFocusItem()); });
    }
    BlockStack::itemChange(change, data);
}

// A window that is left, and a menu that opens over the message, keep the selection.
void TextSelection::giveUpFor(const QQuickItem* focused)
{
    if (window() == nullptr || focused == nullptr || focused == window()->contentItem() || isAncestorOf(focused)) {
        return;
    }
    for (const QQuickItem* item = focused; item != nullptr; item = item->parentItem()) {
        if (item->inherits("QQuickOverlay")) {
            return;
        }
    }
    setKeys(false);
    readSelection(); // it may have been made by keys
    if (m_hasSelection) {
        clear();
    }
}

} // namespace tessarin
