#pragma once

#include "Views/PreviewLoader.h"

#include <QImage>
#include <QPointer>
#include <QQuickItem>
#include <qqmlintegration.h>

namespace tessarin
{

// Shows a picture so that it fills the item, cut around its middle. It is read while the item is there already: `isPending` until it is
// known whether the file has one. Unlike an Image it keeps nothing of what it shows beyond the loader's limit, and what is no picture is no
// error.
class PreviewItem : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(Preview)
    Q_PROPERTY(tessarin::PreviewLoader* loader READ loader WRITE setLoader NOTIFY loaderChanged REQUIRED)
    Q_PROPERTY(QString path READ path WRITE setPath NOTIFY pathChanged REQUIRED) // empty for none
    Q_PROPERTY(QSizeF cardSize READ cardSize WRITE setCardSize NOTIFY cardSizeChanged REQUIRED) // the largest that it is shown at
    Q_PROPERTY(bool hasPicture READ hasPicture NOTIFY pictureChanged)
    Q_PROPERTY(bool isPending READ isPending NOTIFY pictureChanged)
public:
    explicit PreviewItem(QQuickItem* parent = nullptr);
    ~PreviewItem() override;

    [[nodiscard]] PreviewLoader* loader() const { return m_loader; }
    void setLoader(PreviewLoader* loader);
    [[nodiscard]] const QString& path() const { return m_path; }
    void setPath(const QString& path);
    [[nodiscard]] QSizeF cardSize() const { return m_cardSize; }
    void setCardSize(QSizeF size);
    [[nodiscard]] bool hasPicture() const { return !m_picture.isNull(); }
    [[nodiscard]] bool isPending() const { return m_isPending; }
    [[nodiscard]] const QImage& picture() const { return m_picture; }

signals:
    void loaderChanged();
    void pathChanged();
    void cardSizeChanged();
    void pictureChanged();

protected:
    void componentComplete() override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;

private:
    // Asks for what the properties say, once they are all there.
    void load();
    void setPicture(const QImage& picture, bool isPending);

    QPointer<PreviewLoader> m_loader;
    QString m_path;
    QSizeF m_cardSize;
    PreviewLoader::Ticket m_ticket;
    QImage m_picture;
    bool m_isPending = false;
    bool m_isPictureNew = false; // to the scene graph
};

} // namespace tessarin
