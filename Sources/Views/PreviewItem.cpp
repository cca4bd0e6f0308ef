#include "Views/PreviewItem.h"

#include <QQuickWindow>
#include <QSGImageNode>

#include <utility>

namespace tessarin
{

PreviewItem::PreviewItem(QQuickItem* parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

PreviewItem::~PreviewItem() = default;

void PreviewItem::setLoader(PreviewLoader* loader)
{
    if (m_loader != loader) {
        m_loader = loader;
        emit loaderChanged();
        load();
    }
}

void PreviewItem::setPath(const QString& path)
{
    if (m_path != path) {
        m_path = path;
        emit pathChanged();
        load();
    }
}

void PreviewItem::setCardSize(QSizeF size)
{
    if (m_cardSize != size) {
        m_cardSize = size;
        emit cardSizeChanged();
        load();
    }
}

void PreviewItem::componentComplete()
{
    QQuickItem::componentComplete();
    load();
}

void PreviewItem::itemChange(ItemChange change, const ItemChangeData& data)
{
    QQuickItem::itemChange(change, data);
    if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged) {
        load();
    }
}

void PreviewItem::load()
{
    if (!isComponentComplete() || window() == nullptr) {
        return;
    }
    const bool isAsked = m_loader && !m_path.isEmpty();
    m_ticket.reset();
    setPicture({}, isAsked);
    if (isAsked) {
        const QSize size = (m_cardSize * window()->effectiveDevicePixelRatio()).toSize();
        m_ticket = m_loader->request(m_path, size, [this](const QImage& picture) { setPicture(picture, false); });
    }
}

void PreviewItem::setPicture(const QImage& picture, bool isPending)
{
    m_picture = picture;
    m_isPending = isPending;
    m_isPictureNew = true;
    update();
    emit pictureChanged();
}

QSGNode* PreviewItem::updatePaintNode(QSGNode* node, UpdatePaintNodeData* /*data*/)
{
    if (m_picture.isNull() || size().isEmpty()) {
        delete node;
        return nullptr;
    }
    auto* image = static_cast<QSGImageNode*>(node);
    if (image == nullptr) {
        image = window()->createImageNode();
        image->setOwnsTexture(true);
        m_isPictureNew = true;
    }
    if (std::exchange(m_isPictureNew, false)) {
        image->setTexture(window()->createTextureFromImage(m_picture));
    }
    image->setFiltering(QSGTexture::Linear);
    image->setRect(boundingRect());
    const QSizeF whole = m_picture.size();
    QRectF shown(QPointF(), size().scaled(whole, Qt::KeepAspectRatio));
    shown.moveCenter(QRectF(QPointF(), whole).center());
    image->setSourceRect(shown);
    return image;
}

} // namespace tessarin
