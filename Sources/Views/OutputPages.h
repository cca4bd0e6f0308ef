#pragma once

#include "Views/PagedText.h"

#include <QPointer>
#include <QQmlParserStatus>

namespace tessarin
{

class EntryListModel;

// What a tool printed, page by page. Main thread only.
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
    explicit OutputPages(QObject* parent = nullptr);

    void classBegin() override { }
    void componentComplete() override;

protected:
    [[nodiscard]] std::string_view text() const override;

private:
    void readEntry(int row, bool hasOnlyGrown);

    QPointer<EntryListModel> m_entries;
    int m_row = -1;
};

} // namespace tessarin
