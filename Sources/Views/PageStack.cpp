#include "Views/PageStack.h"

#include "Views/ItemCreation.h"

#include <algorithm>
#include <utility>

namespace tessarin
{

PageStack::PageStack(QQuickItem* parent) : QQuickItem(parent)
{
    connect(this, &PageStack::keptChanged, this, &PageStack::look);
}

void PageStack::setCount(int count)
{
    const auto size = static_cast<std::size_t>(std::max(count, 0));
    if (size == m_pages.size()) {
        return;
    }
    for (std::size_t page = size; page < m_pages.size(); ++page) {
        giveUp(page);
    }
    m_pages.resize(size);
    makeWanted();
    emit countChanged();
}

void PageStack::setWhole(bool isWhole)
{
    if (isWhole != m_isWhole) {
        m_isWhole = isWhole;
        makeWanted();
        emit wholeChanged();
    }
}

void PageStack::componentComplete()
{
    QQuickItem::componentComplete();
    findView();
    makeWanted();
}

void PageStack::itemChange(ItemChange change, const ItemChangeData& data)
{
    QQuickItem::itemChange(change, data);
    if (change == ItemSceneChange && isComponentComplete()) {
        findView();
        look();
    }
}

void PageStack::geometryChange(const QRectF& now, const QRectF& before)
{
    QQuickItem::geometryChange(now, before);
    if (now.width() != before.width()) {
        for (const Page& page : m_pages) {
            if (page.item != nullptr) {
                page.item->setWidth(now.width());
            }
        }
    }
    look();
}

void PageStack::findView()
{
    QQuickItem* view = parentItem();
    while (view != nullptr && !view->inherits("QQuickFlickable")) {
        view = view->parentItem();
    }
    if (view == m_view) {
        return;
    }
    if (m_view != nullptr) {
        m_view->disconnect(this);
    }
    m_view = view;
    if (m_view != nullptr) {
        // Signals of a class that Qt keeps to itself.
        for (const char* signal : { SIGNAL(contentYChanged()), SIGNAL(contentHeightChanged()), SIGNAL(heightChanged()) }) {
            connect(m_view, signal, this, SLOT(look()));
        }
    }
}

// Each text looks whenever the view moves: mapping a rectangle would cost more than all the rest.
qreal PageStack::topInView() const
{
    qreal top = 0;
    for (const QQuickItem* item = this; item != nullptr && item != m_view; item = item->parentItem()) {
        top += item->y();
    }
    return top;
}

bool PageStack::isWanted(std::size_t page) const
{
    return m_isWhole || m_pages.size() <= pagesOfAShortText || page + pagesAtTheEnd >= m_pages.size();
}

// What has come stays for a while, so that nothing comes and goes at an edge.
bool PageStack::isToChange(std::size_t page, qreal topInView) const
{
    const QQuickItem* item = m_pages[page].item;
    if (isWanted(page) || (item != nullptr && m_isKept)) {
        return false;
    }
    const qreal bottom = topInView + m_pages[page].height;
    const qreal sight = m_view->height();
    const qreal near = sight / 2;
    return item != nullptr ? bottom < -sight || topInView > 2 * sight : bottom > -near && topInView < sight + near;
}

void PageStack::look()
{
    if (m_view == nullptr || !isComponentComplete()) {
        return;
    }
    qreal top = topInView();
    for (std::size_t page = 0; page < m_pages.size(); ++page) {
        if (isToChange(page, top)) {
            polish();
            return;
        }
        top += m_pages[page].height;
    }
}

void PageStack::updatePolish()
{
    qreal top = 0; // in this
    for (std::size_t page = 0; page < m_pages.size() && m_view != nullptr; ++page) {
        const qreal inView = topInView() + top;
        if (isToChange(page, inView)) {
            m_pages[page].item != nullptr ? giveUp(page) : comeIntoBeing(page, inView);
        }
        top += m_pages[page].height;
    }
}

// At once, so that a text that has just come is as high as it will be.
void PageStack::makeWanted()
{
    if (!isComponentComplete()) {
        return;
    }
    for (std::size_t page = 0; page < m_pages.size(); ++page) {
        if (m_pages[page].item == nullptr && isWanted(page)) {
            make(page);
        }
    }
    stack();
    look();
}

void PageStack::make(std::size_t page)
{
    if (m_delegate == nullptr) {
        return;
    }
    const auto begin = [this, page](QObject* object) { takePlace(page, qobject_cast<QQuickItem*>(object)); };
    static_cast<void>(createWithin(*this, *m_delegate, { { QStringLiteral("index"), static_cast<int>(page) } }, begin));
    if (const QQuickItem* item = m_pages[page].item) {
        connect(item, &QQuickItem::heightChanged, this, &PageStack::stack);
        connect(item, &QQuickItem::implicitWidthChanged, this, &PageStack::stack);
    }
}

// Among its siblings too, which is the order in which they are read and in which the keys go.
void PageStack::takePlace(std::size_t page, QQuickItem* item)
{
    m_pages[page].item = item;
    if (item == nullptr) {
        return;
    }
    item->setWidth(width());
    const auto next = std::find_if(
        m_pages.begin() + static_cast<std::ptrdiff_t>(page) + 1, m_pages.end(), [](const Page& other) { return other.item; });
    if (next != m_pages.end()) {
        item->stackBefore(next->item);
    }
}

void PageStack::comeIntoBeing(std::size_t page, qreal topInView)
{
    const qreal before = m_pages[page].height;
    make(page);
    stack();
    const qreal growth = m_pages[page].height - before;
    if (topInView + before <= 0 && growth != 0) {
        m_view->setProperty("contentY", m_view->property("contentY").toReal() + growth);
    }
}

void PageStack::giveUp(std::size_t page)
{
    if (QQuickItem* item = std::exchange(m_pages[page].item, nullptr)) {
        giveUpWithin(*this, *item);
    }
}

void PageStack::stack()
{
    if (m_isStacking) {
        return;
    }
    m_isStacking = true;
    qreal y = 0;
    qreal width = 0;
    for (Page& page : m_pages) {
        if (page.item != nullptr) {
            page.item->setY(y);
            page.height = page.item->height();
            page.implicitWidth = page.item->implicitWidth();
        }
        y += page.height;
        width = std::max(width, page.implicitWidth);
    }
    m_isStacking = false;
    // Not both at once: who hears of the width may give another one, which gives another height before the first has been set.
    setImplicitHeight(y);
    setImplicitWidth(width);
}

} // namespace tessarin
