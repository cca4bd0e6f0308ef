#include "Views/BlockListModel.h"

namespace tessarin
{

BlockGap::Value BlockGap::above(const TextBlock& block, const TextBlock* before)
{
    if (before == nullptr || block.isContinued) {
        return None;
    }
    if (block.isItem && before->isItem) {
        return Item;
    }
    return block.kind == BlockKind::Heading ? Heading : Block;
}

BlockListModel::BlockListModel(std::optional<TextBlock> before, QObject* parent) : QAbstractListModel(parent), m_before(std::move(before))
{
}

void BlockListModel::setBefore(std::optional<TextBlock> before)
{
    if (m_blocks.isEmpty()) {
        m_before = std::move(before);
        return;
    }
    const BlockGap::Value earlier = gapAbove(0);
    m_before = std::move(before);
    if (gapAbove(0) != earlier) {
        emit dataChanged(index(0), index(0), { GapRole, SeparatorRole });
    }
}

void BlockListModel::replaceFrom(int first, const QList<TextBlock>& blocks)
{
    // A view chooses what shows a row once, by its kind: a block of another kind is another row.
    const auto isKept
        = [&](int i) { return first + i < m_blocks.size() && i < blocks.size() && m_blocks[first + i].kind == blocks[i].kind; };
    int kept = 0;
    for (; isKept(kept); ++kept) {
        const int row = first + kept;
        if (m_blocks[row] != blocks[kept]) {
            m_blocks[row] = blocks[kept];
            emit dataChanged(index(row), index(row));
        }
    }
    const int end = first + kept;
    if (m_blocks.size() > end) {
        beginRemoveRows({}, end, static_cast<int>(m_blocks.size()) - 1);
        m_blocks.resize(end);
        endRemoveRows();
    }
    if (blocks.size() > kept) {
        beginInsertRows({}, end, first + static_cast<int>(blocks.size()) - 1);
        m_blocks.append(blocks.mid(kept));
        endInsertRows();
    }
}

int BlockListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_blocks.size());
}

QVariant BlockListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    const TextBlock& block = m_blocks[index.row()];
    switch (role) {
    case KindRole:
        return block.kind;
    case LevelRole:
        return block.level;
    case ListDepthRole:
        return block.listDepth;
    case QuoteDepthRole:
        return block.quoteDepth;
    case MarkerRole:
        return block.marker;
    case ContentRole:
        return QVariant::fromValue(block.content);
    case LanguageRole:
        return block.language;
    case ContinuedRole:
        return block.isContinued;
    case EndlessRole:
        return block.isEndless;
    case TableRole:
        return QVariant::fromValue(block.table);
    case GapRole:
        return gapAbove(index.row());
    case RightToLeftRole:
        return block.isRightToLeft();
    case LeadRole:
        return block.lead();
    case SeparatorRole:
        return block.isContinued ? block.joint : gapAbove(index.row()) >= BlockGap::Block ? QStringLiteral("\n\n") : QStringLiteral("\n");
    default:
        return {};
    }
}

QHash<int, QByteArray> BlockListModel::roleNames() const
{
    return { { KindRole, "kind" }, { LevelRole, "level" }, { ListDepthRole, "listDepth" }, { QuoteDepthRole, "quoteDepth" },
        { MarkerRole, "marker" }, { ContentRole, "content" }, { LanguageRole, "language" }, { ContinuedRole, "continued" },
        { EndlessRole, "endless" }, { TableRole, "table" }, { GapRole, "gap" }, { RightToLeftRole, "rightToLeft" }, { LeadRole, "lead" },
        { SeparatorRole, "separator" } };
}

BlockGap::Value BlockListModel::gapAbove(int row) const
{
    const TextBlock* before = row > 0 ? &m_blocks[row - 1] : m_before ? &*m_before : nullptr;
    return BlockGap::above(m_blocks[row], before);
}

} // namespace tessarin
