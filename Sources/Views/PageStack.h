#pragma once

#include <QPointer>
#include <QQmlComponent>
#include <QQuickItem>
#include <qqmlintegration.h>

#include <cstddef>
#include <vector>

namespace tessarin
{

// Stacks the pages of a text below each other. Of a long text only those exist that are in sight of the view that scrolls it, or near, and
// the last ones, where it grows; a page elsewhere is a gap as high as it was, or is likely to be, and costs no more than that number. When
// a page above the sight comes into being with another height, the view stays where it was in the text.
class PageStack : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int count READ count WRITE setCount NOTIFY countChanged)
    // Makes a page, which is told which one by its required property `index`.
    Q_PROPERTY(QQmlComponent* delegate MEMBER m_delegate REQUIRED)
    // Whether all pages exist.
    Q_PROPERTY(bool whole READ isWhole WRITE setWhole NOTIFY wholeChanged)
    // Whether the pages that exist stay when they go out of sight.
    Q_PROPERTY(bool kept MEMBER m_isKept NOTIFY keptChanged)
public:
    // The likely height of a page that has not been seen yet.
    static constexpr qreal likelyHeight = 500;
    // A text of no more pages exists as a whole.
    static constexpr std::size_t pagesOfAShortText = 4;
    // How many exist at the end of a longer one, wherever it is scrolled to.
    static constexpr std::size_t pagesAtTheEnd = 2;

    explicit PageStack(QQuickItem* parent = nullptr);

    [[nodiscard]] int count() const { return static_cast<int>(m_pages.size()); }
    // Pages come and go at the end.
    void setCount(int count);
    [[nodiscard]] bool isWhole() const { return m_isWhole; }
    void setWhole(bool isWhole);

signals:
    void countChanged();
    void wholeChanged();
    void keptChanged();

protected:
    void componentComplete() override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void updatePolish() override;

private slots:
    void look();

private:
    struct Page {
        qreal height = likelyHeight; // as it is, or was when it existed
        qreal implicitWidth = 0;
        QQuickItem* item = nullptr; // a child of this while it exists
    };

    void findView();
    [[nodiscard]] qreal topInView() const;
    [[nodiscard]] bool isWanted(std::size_t page) const;
    [[nodiscard]] bool isToChange(std::size_t page, qreal topInView) const;
    void makeWanted();
    void make(std::size_t page);
    void takePlace(std::size_t page, QQuickItem* item);
    void comeIntoBeing(std::size_t page, qreal topInView);
    void giveUp(std::size_t page);
    void stack();

    QPointer<QQmlComponent> m_delegate;
    QPointer<QQuickItem> m_view; // the Flickable around it
    std::vector<Page> m_pages;
    bool m_isWhole = false;
    bool m_isKept = false;
    bool m_isStacking = false;
};

} // namespace tessarin
