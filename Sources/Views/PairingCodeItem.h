#pragma once

#include <QImage>
#include <QQuickItem>
#include <QString>
#include <qqmlintegration.h>

namespace tessarin
{

// Shows a text as a QR code without interpolation, as large as the item. Its implicit size gives each module whole pixels, as many as
// come closest to the size that is wanted.
class PairingCodeItem : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(PairingCode)
    Q_PROPERTY(QString value READ value WRITE setValue NOTIFY valueChanged REQUIRED)
    Q_PROPERTY(int wantedSize READ wantedSize WRITE setWantedSize NOTIFY wantedSizeChanged REQUIRED)
    Q_PROPERTY(bool hasCode READ hasCode NOTIFY valueChanged)
public:
    explicit PairingCodeItem(QQuickItem* parent = nullptr);

    [[nodiscard]] const QString& value() const { return m_value; }
    void setValue(const QString& value);
    [[nodiscard]] int wantedSize() const { return m_wantedSize; }
    void setWantedSize(int size);
    [[nodiscard]] bool hasCode() const { return !m_picture.isNull(); }
    [[nodiscard]] const QImage& picture() const { return m_picture; }

signals:
    void valueChanged();
    void wantedSizeChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;

private:
    void fit();

    QString m_value;
    int m_wantedSize = 0;
    QImage m_picture;
    bool m_isPictureNew = false; // to the scene graph
};

} // namespace tessarin
