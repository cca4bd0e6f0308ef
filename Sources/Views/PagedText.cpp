#include "Views/PagedText.h"

#include <algorithm>
#include <utility>

namespace tessarin
{

PagedText::PagedText(QObject* parent) : QAbstractListModel(parent) { }

// A row that is not shown costs nothing when it is told to have changed, so what is replaced needs no comparison.
void PagedText::read(Growth growth)
{
    const int firstChanged = growth == Growth::atItsEnd ? std::max(m_rowCount - 1, 0) : 0;
    if (growth == Growth::anew) {
        m_segments = TextSegments(TextSegments::Format::plain);
    }
    m_segments.scan(text());
    const int before = m_rowCount;
    const int pages = static_cast<int>(m_segments.begins().size());
    if (const int kept = std::min(pages, m_rowCount); kept > firstChanged) {
        emit dataChanged(index(firstChanged), index(kept - 1));
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
    if (m_rowCount != before) {
        emit countChanged();
    }
    countLines(text());
}

// The last line end ends the last line and begins no other.
void PagedText::countLines(std::string_view text)
{
    int lines = text.empty() ? 0 : 1;
    for (std::size_t at = text.find('\n'); at != std::string_view::npos && lines < mostCountedLines; at = text.find('\n', at + 1)) {
        lines += at + 1 < text.size() ? 1 : 0;
    }
    for (std::size_t page = 1; page < m_segments.begins().size() && lines < mostCountedLines; ++page) {
        lines = isCutBefore(page) ? mostCountedLines : lines;
    }
    if (std::exchange(m_lineCount, lines) != lines) {
        emit lineCountChanged();
    }
}

std::string_view PagedText::pageText(std::size_t page) const
{
    const std::vector<std::size_t>& begins = m_segments.begins();
    if (page >= begins.size()) {
        return {};
    }
    const std::string_view whole = text();
    const std::size_t begin = std::min(begins[page], whole.size());
    const std::size_t end = page + 1 < begins.size() ? begins[page + 1] : whole.size();
    std::string_view part = whole.substr(begin, std::max(end, begin) - begin);
    if (part.ends_with('\n')) {
        part.remove_suffix(1); // what follows begins on a line of its own
    }
    return part;
}

QString PagedText::shown(std::string_view part) const
{
    return QString::fromUtf8(part);
}

QString PagedText::wholeText() const
{
    return shown(text());
}

StyledRuns PagedText::content(int page) const
{
    return StyledRuns::fromText(shown(pageText(static_cast<std::size_t>(page))));
}

bool PagedText::isContinued(int page) const
{
    return isCutBefore(static_cast<std::size_t>(page));
}

bool PagedText::isEndless(int page) const
{
    const auto row = static_cast<std::size_t>(page);
    return isCutBefore(row) || isCutBefore(row + 1);
}

// Whether the page before it ends in the midst of a line.
bool PagedText::isCutBefore(std::size_t page) const
{
    const std::vector<std::size_t>& begins = m_segments.begins();
    const std::size_t begin = page < begins.size() ? begins[page] : 0;
    const std::string_view whole = text();
    return begin > 0 && begin <= whole.size() && whole[begin - 1] != '\n';
}

int PagedText::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rowCount;
}

QVariant PagedText::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    if (role == ContentRole) {
        return QVariant::fromValue(content(index.row()));
    }
    return role == ContinuedRole ? QVariant(isContinued(index.row())) : role == EndlessRole ? QVariant(isEndless(index.row())) : QVariant();
}

QHash<int, QByteArray> PagedText::roleNames() const
{
    return { { ContentRole, "content" }, { ContinuedRole, "continued" }, { EndlessRole, "endless" } };
}

} // namespace tessarin
