#include "Views/OutputPages.h"

#include "Views/EntryListModel.h"

#include <utility>

namespace tessarin
{

OutputPages::OutputPages(QObject* parent) : PagedText(parent)
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(pauseMilliseconds);
    connect(&m_pause, &QTimer::timeout, this, &OutputPages::readReplaced);
}

void OutputPages::componentComplete()
{
    connect(m_entries, &EntryListModel::entryTextChanged, this, &OutputPages::readEntry);
    read(Growth::anew);
}

void OutputPages::readEntry(int row, bool hasOnlyGrown)
{
    if (row != m_row || m_entries.isNull()) {
        return;
    }
    m_isReplaced = m_isReplaced || !hasOnlyGrown;
    if (!m_isReplaced) {
        read(Growth::atItsEnd);
    } else if (!m_pause.isActive()) {
        readReplaced();
    }
}

void OutputPages::readReplaced()
{
    if (std::exchange(m_isReplaced, false)) {
        read(Growth::anew);
        if (text().size() > pauseByteLimit) {
            m_pause.start();
        }
    }
}

std::string_view OutputPages::text() const
{
    return m_entries.isNull() ? std::string_view() : m_entries->entryText(m_row);
}

} // namespace tessarin
