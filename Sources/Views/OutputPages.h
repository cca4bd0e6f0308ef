#pragma once

#include "Views/TextBlock.h"
#include "Views/TextSegments.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QQmlParserStatus>

#include <string_view>

namespace tessarin
{

class EntryListModel;

// What a tool printed, in pages of some thousand characters, each a row. A page becomes a QString when its row asks for it, so that
// 20 MB cost no more than finding where the pages begin. Main thread only.
class OutputPages : public QAbstractListModel, public QQmlParserStatus
{
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(tessarin::EntryListModel* entries MEMBER m_entries REQUIRED)
    Q_PROPERTY(int row MEMBER m_row REQUIRED)
    // How many lines there are, as far as they are counted.
    Q_PROPERTY(int lineCount READ lineCount NOTIFY lineCountChanged)
    Q_MOC_INCLUDE("Views/EntryListModel.h")
public:
    // Enough to know whether the output fills its view.
    static constexpr int mostCountedLines = 100;

    enum Role {
        ContentRole = Qt::UserRole,
        ContinuedRole // it begins in the midst of a line
    };

    explicit OutputPages(QObject* parent = nullptr);

    [[nodiscard]] int lineCount() const { return m_lineCount; }
    // All pages.
    [[nodiscard]] Q_INVOKABLE QString wholeText() const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    void classBegin() override { }
    void componentComplete() override;

signals:
    void lineCountChanged();

private:
    void readEntry(int row, bool hasOnlyGrown);
    void countLines(std::string_view text);
    [[nodiscard]] std::string_view text() const;
    [[nodiscard]] std::string_view pageText(std::size_t page) const;

    QPointer<EntryListModel> m_entries;
    int m_row = -1;
    TextSegments m_segments{ TextSegments::Format::plain };
    int m_rowCount = 0; // as it was told
    int m_lineCount = 0;
};

} // namespace tessarin
