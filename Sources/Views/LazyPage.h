#pragma once

#include "Views/LazyItem.h"

namespace tessarin
{

// A page of a long text that exists only while it is in sight of the view that scrolls it, or near. Elsewhere it is a gap as high as the
// page was, or is likely to be. When a page above the sight comes into being with another height, the view stays where it was in the
// text.
class LazyPage : public LazyItem
{
    Q_OBJECT
    QML_ELEMENT
    // Whether it exists out of sight too, from the beginning.
    Q_PROPERTY(bool wanted READ isWanted WRITE setWanted NOTIFY wantedChanged)
    // Whether it stays when it goes out of sight.
    Q_PROPERTY(bool kept MEMBER m_isKept NOTIFY keptChanged)
public:
    // The likely height of a page that has not been seen yet.
    static constexpr qreal likelyHeight = 500;

    explicit LazyPage(QQuickItem* parent = nullptr);

    [[nodiscard]] bool isWanted() const { return m_isWanted; }
    void setWanted(bool isWanted);

signals:
    void wantedChanged();
    void keptChanged();

protected:
    void componentComplete() override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void updatePolish() override;
    void takeImplicitSize() override;

private slots:
    void look();

private:
    void findView();
    [[nodiscard]] qreal topInView() const;
    [[nodiscard]] bool isToChange() const;
    void comeIntoBeing();

    QPointer<QQuickItem> m_view; // the Flickable around it
    bool m_isWanted = false;
    bool m_isKept = false;
    qreal m_knownHeight = likelyHeight;
};

} // namespace tessarin
