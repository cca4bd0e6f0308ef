#pragma once

#ifndef Q_MOC_RUN // the one of Qt 6.4 stumbles over <compare> where it is the first of all
#include "Imagine/ImagineItem.h"
#endif

#include <QAbstractListModel>
#include <qqmlintegration.h>

#include <vector>

namespace tessarin
{

// The creations of the library for the gallery, in the order of the library. Rows keep their identity when the library changes.
// Main thread only.
class ImagineListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its list of creations")
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Role { IdRole = Qt::UserRole, PromptRole, ExcerptRole, CreatedRole, FormatRole, PicturePathRole }; // the path is empty for a video

    explicit ImagineListModel(InstantSource now, QObject* parent = nullptr);

    // An item never changes; one with another id is another one.
    void setItems(const std::vector<ImagineItem>& items);
    // Reads the clock and has the times read again. Does nothing within a few seconds of the last time.
    void refreshTimes();

    [[nodiscard]] int count() const { return static_cast<int>(m_items.size()); }
    // Null when there is none with this id any more.
    [[nodiscard]] const ImagineItem* itemWithID(const Uuid& id) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void countChanged();

private:
    void removeMissing(const std::vector<ImagineItem>& items);
    void placeItem(std::size_t at, const ImagineItem& item);

    InstantSource m_now;
    Instant m_moment; // when the times were read
    std::vector<ImagineItem> m_items;
};

} // namespace tessarin
