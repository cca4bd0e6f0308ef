#include "Views/PairingCodeItem.h"

#include "Views/PairingCode.h"

#include <QQuickWindow>
#include <QSGImageNode>

#include <algorithm>
#include <cmath>
#include <utility>

namespace tessarin
{

PairingCodeItem::PairingCodeItem(QQuickItem* parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void PairingCodeItem::setValue(const QString& value)
{
    if (value == m_value) {
        return;
    }
    m_value = value;
    m_picture = PairingCode::image(value);
    m_isPictureNew = true;
    fit();
    update();
    emit valueChanged();
}

void PairingCodeItem::setWantedSize(int size)
{
    if (size != m_wantedSize) {
        m_wantedSize = size;
        fit();
        emit wantedSizeChanged();
    }
}

// A code that is scaled unevenly is harder to read.
void PairingCodeItem::fit()
{
    const int modules = m_picture.width() / PairingCode::modulePixels;
    const int side = modules == 0 ? 0 : modules * std::max(1, static_cast<int>(std::lround(double(m_wantedSize) / modules)));
    setImplicitSize(side, side);
}

QSGNode* PairingCodeItem::updatePaintNode(QSGNode* node, UpdatePaintNodeData* /*data*/)
{
    if (m_picture.isNull() || size().isEmpty()) {
        delete node;
        return nullptr;
    }
    auto* image = static_cast<QSGImageNode*>(node);
    if (image == nullptr) {
        image = window()->createImageNode();
        image->setOwnsTexture(true);
        image->setFiltering(QSGTexture::Nearest);
        m_isPictureNew = true;
    }
    if (std::exchange(m_isPictureNew, false)) {
        image->setTexture(window()->createTextureFromImage(m_picture));
    }
    image->setRect(boundingRect());
    return image;
}

} // namespace tessarin
