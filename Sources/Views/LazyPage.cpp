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
    polish();
}

void LazyPage::updatePolish()
{
    if (m_view == nullptr || m_isWanted) {
        return;
    }
    const QRectF place = mapRectToItem(m_view, QRectF(0, 0, width(), height()));
    // What has come stays for a while, so that nothing comes and goes at an edge.
    const qreal sight = m_view->height();
    const qreal near = sight / 2;
    if (!isActive() && place.bottom() > -near && place.top() < sight + near) {
        comeIntoBeing(place);
    } else if (isActive() && !m_isKept && (place.bottom() < -sight || place.top() > 2 * sight)) {
        setActive(false);
    }
}

void LazyPage::comeIntoBeing(const QRectF& place)
{
    setActive(true);
    const qreal growth = height() - place.height();
    if (place.bottom() <= 0 && growth != 0) {
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
