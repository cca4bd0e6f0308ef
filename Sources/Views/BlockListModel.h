#pragma once

#include "Views/TextBlock.h"

#include <QAbstractListModel>

#include <optional>

namespace tessarin
{

// How far a block stands below the one before it. The theme gives each its size.
class BlockGap : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("BlockGap is a set of values")
public:
    enum Value { None, Item, Block, Heading };
    Q_ENUM(Value)

    // The gap above a block; `before` is absent for the first block of a text.
    [[nodiscard]] static Value above(const TextBlock& block, const TextBlock* before);
};

// The blocks of one page of a text. When the end of the text changes, only the rows that differ change.
class BlockListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The pages of a text make their lists of blocks")
public:
    enum Role {
        KindRole = Qt::UserRole,
        LevelRole,
        ListDepthRole,
        QuoteDepthRole,
        MarkerRole,
        ContentRole,
        LanguageRole,
        ContinuedRole,
        EndlessRole,
        TableRole,
        GapRole,
        RightToLeftRole,
        LeadRole, // what stands before the text when it is copied with others
        SeparatorRole // what stands between it and the text before when both are copied
    };

    // `before` is the last block of the page before, which does not change any more.
    explicit BlockListModel(std::optional<TextBlock> before, QObject* parent = nullptr);

    void setBefore(std::optional<TextBlock> before);
    // The rows from `first` on become these.
    void replaceFrom(int first, const QList<TextBlock>& blocks);
    [[nodiscard]] const QList<TextBlock>& blocks() const { return m_blocks; }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

private:
    [[nodiscard]] BlockGap::Value gapAbove(int row) const;

    std::optional<TextBlock> m_before;
    QList<TextBlock> m_blocks;
};

} // namespace tessarin
