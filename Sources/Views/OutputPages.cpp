#include "Views/OutputPages.h"

#include "Views/EntryListModel.h"

namespace tessarin
{

OutputPages::OutputPages(QObject* parent) : PagedText(parent) { }

void OutputPages::componentComplete()
{
    connect(m_entries, &EntryListModel::entryTextChanged, this, &OutputPages::readEntry);
    readEntry(m_row, false);
}

void OutputPages::readEntry(int row, bool hasOnlyGrown)
{
    if (row == m_row && !m_entries.isNull()) {
        read(hasOnlyGrown ? Growth::atItsEnd : Growth::anew);
    }
}

std::string_view OutputPages::text() const
{
    return m_entries.isNull() ? std::string_view() : m_entries->entryText(m_row);
}

} // namespace tessarin
