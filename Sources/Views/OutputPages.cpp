#include "Views/OutputPages.h"

#include "Views/EntryListModel.h"

#include <algorithm>
#include <utility>

namespace tessarin
{

OutputPages::OutputPages(QObject* parent) : QAbstractListModel(parent) { }

void OutputPages::componentComplete()
{
    connect(m_entries, &EntryListModel::entryTextChanged, this, &OutputPages::readEntry);
    readEntry(m_row, false);
}

// A row that is not shown costs nothing when it is told to have changed, so what is replaced needs no comparison.
void OutputPages::readEntry(int row, bool hasOnlyGrown)
{
    if (row != m_row || m_entries.isNull()) {
        return;
    }
    const int firstChanged = hasOnlyGrown ? m_rowCount - 1 : 0;
    if (!hasOnlyGrown) {
        m_segments = TextSegments(TextSegments::Format::plain);
    }
    m_segments.scan(text());
    const int pages = static_cast<int>(m_segments.begins().size());
    if (const int kept = std::min(pages, m_rowCount); kept > 0) {
        emit dataChanged(index(std::max(firstChanged, 0)), index(kept - 1));
    }
    if (pages < m_rowCount) {
        beginRemoveRows({}, pages, m_rowCount - 1);
        m_rowCount = pages;
        endRemoveRows();
    } else if (pages > m_rowCount) {
        beginInsertRows({}, m_rowCount, pages - 1);
        m_rowCount = pages;
        endInsertRows();
    }
    countLines(text());
}

// The last line end ends the last line and begins no other.
void OutputPages::countLines(std::string_view text)
{
    int lines = text.empty() ? 0 : 1;
    for (std::size_t at = text.find('\n'); at != std::string_view::npos && lines < mostCountedLines; at = text.find('\n', at + 1)) {
        lines += at + 1 < text.size() ? 1 : 0;
    }
    if (std::exchange(m_lineCount, lines) != lines) {
        emit lineCountChanged();
    }
}

std::string_view OutputPages::text() const
{
    return m_entries.isNull() ? std::string_view() : m_entries->entryText(m_row);
}

// The text may have changed since it was read, which is told soon.
std::string_view OutputPages::pageText(std::size_t page) const
{
    const std::vector<std::size_t>& begins = m_segments.begins();
    const std::string_view whole = text();
    const std::size_t begin = std::min(begins[page], whole.size());
    const std::size_t end = page + 1 < begins.size() ? begins[page + 1] : whole.size();
    std::string_view part = whole.substr(begin, std::max(end, begin) - begin);
    if (part.ends_with('\n')) {
        part.remove_suffix(1); // what follows begins on a line of its own
    }
    return part;
}

QString OutputPages::wholeText() const
{
    return QString::fromUtf8(text());
}

int OutputPages::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rowCount;
}

QVariant OutputPages::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    const auto page = static_cast<std::size_t>(index.row());
    if (role == ContentRole) {
        return QVariant::fromValue(StyledRuns::fromText(QString::fromUtf8(pageText(page))));
    }
    if (role == ContinuedRole) {
        const std::size_t begin = m_segments.begins()[page];
        return begin > 0 && begin <= text().size() && text()[begin - 1] != '\n';
    }
    return {};
}

QHash<int, QByteArray> OutputPages::roleNames() const
{
    return { { ContentRole, "content" }, { ContinuedRole, "continued" } };
}

} // namespace tessarin
