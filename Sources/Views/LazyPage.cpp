#include "Views/LazyPage.h"

namespace tessarin
{

LazyPage::LazyPage(QQuickItem* parent) : LazyItem(parent)
{
    setActive(false);
    connect(this, &LazyPage::keptChanged, this, &LazyPage::look);
}

void LazyPage::setWanted(bool isWanted)
{
    if (isWanted == m_isWanted) {
        return;
    }
    m_isWanted = isWanted;
    emit wantedChanged();
    if (isComponentComplete() && isWanted) {
        setActive(true);
    }
    polish();
}

void LazyPage::componentComplete()
{
    if (m_isWanted) {
        setActive(true); // it is made once, with its own height
    }
    LazyItem::componentComplete();
    findView();
    polish();
}

void LazyPage::itemChange(ItemChange change, const ItemChangeData& data)
{
    LazyItem::itemChange(change, data);
    if (change == ItemSceneChange && isComponentComplete()) {
        findView();
        polish();
    }
}

void LazyPage::findView()
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

void LazyPage::geometryChange(const QRectF& now, const QRectF& before)
{
    LazyItem::geometryChange(now, before);
    look();
}

// A long text has a thousand pages, and each looks whenever the view moves: mapping a rectangle would cost more than all the rest.
qreal LazyPage::topInView() const
{
    qreal top = 0;
    for (const QQuickItem* item = this; item != nullptr && item != m_view; item = item->parentItem()) {
        top += item->y();
    }
    return top;
}

// What has come stays for a while, so that nothing comes and goes at an edge.
bool LazyPage::isToChange() const
{
    if (m_view == nullptr || m_isWanted || (isActive() && m_isKept)) {
        return false;
    }
    const qreal top = topInView();
    const qreal bottom = top + height();
    const qreal sight = m_view->height();
    const qreal near = sight / 2;
    return isActive() ? bottom < -sight || top > 2 * sight : bottom > -near && top < sight + near;
}

void LazyPage::look()
{
    if (isToChange()) {
        polish();
    }
}

void LazyPage::updatePolish()
{
    if (!isToChange()) {
        return;
    }
    if (isActive()) {
        setActive(false);
    } else {
        comeIntoBeing();
    }
}

void LazyPage::comeIntoBeing()
{
    const qreal before = height();
    const bool isAbove = topInView() + before <= 0;
    setActive(true);
    const qreal growth = height() - before;
    if (isAbove && growth != 0) {
        m_view->setProperty("contentY", m_view->property("contentY").toReal() + growth);
    }
}

void LazyPage::takeImplicitSize()
{
    if (object() == nullptr) {
        setImplicitSize(implicitWidth(), m_knownHeight);
        return;
    }
    LazyItem::takeImplicitSize();
    m_knownHeight = implicitHeight();
}

} // namespace tessarin
