#pragma once

#include "Views/PagedText.h"

#include <QPointer>
#include <QQmlParserStatus>
#include <QTimer>

namespace tessarin
{

class EntryListModel;

// What a tool printed, page by page. Some runtimes send all of it again and again, and where another text stands, all that is seen of it is
// laid out again: a long text is read no oftener than a person can read it. Main thread only.
// The base is written with its namespace, as in TextSelection.
class OutputPages : public tessarin::PagedText, public QQmlParserStatus
{
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(tessarin::EntryListModel* entries MEMBER m_entries REQUIRED)
    Q_PROPERTY(int row MEMBER m_row REQUIRED)
    Q_MOC_INCLUDE("Views/EntryListModel.h")
public:
    // The pause between two replacements of a text of more than so many bytes.
    static constexpr int pauseMilliseconds = 100;
    static constexpr std::size_t pauseByteLimit = 4096;

    explicit OutputPages(QObject* parent = nullptr);

    void classBegin() override { }
    void componentComplete() override;

protected:
    [[nodiscard]] std::string_view text() const override;

private:
    void readEntry(int row, bool hasOnlyGrown);

    void readReplaced();

    QPointer<EntryListModel> m_entries;
    QTimer m_pause;
    bool m_isReplaced = false; // since it was read
    int m_row = -1;
};

} // namespace tessarin
