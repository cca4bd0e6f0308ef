#pragma once

#include "Views/BlockListModel.h"
#include "Views/TextSegments.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QQmlParserStatus>

#include <memory>
#include <string_view>
#include <vector>

namespace tessarin
{

class EntryListModel;

// The text of one entry, laid out as pages of blocks. It is parsed once; while it streams, only what stands behind the last place that
// can no longer change is parsed again, and only the blocks that differ are told. A page holds a few thousand characters, so that a view
// can leave out the pages that nobody sees.
class TextPages : public QAbstractListModel, public QQmlParserStatus
{
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(tessarin::EntryListModel* entries MEMBER m_entries REQUIRED)
    Q_PROPERTY(int row MEMBER m_row REQUIRED)
    Q_PROPERTY(Format format MEMBER m_format REQUIRED)
    Q_MOC_INCLUDE("Views/EntryListModel.h")
public:
    enum Format { Markdown, Plain };
    Q_ENUM(Format)
    enum Role { BlocksRole = Qt::UserRole };

    // A page is closed above this size.
    static constexpr std::size_t pageByteLimit = 4096;

    explicit TextPages(QObject* parent = nullptr);
    explicit TextPages(Format format);
    ~TextPages() override;

    // The text as it is now. One that does not begin with the text before is laid out anew.
    void setText(std::string_view text);
    // The text has only grown at its end since the last call, which spares the comparison.
    void growText(std::string_view text);

    // The whole code of the block, with the blocks that go on with it.
    Q_INVOKABLE QString code(int page, int block) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    void classBegin() override { }
    void componentComplete() override;

private:
    struct Page {
        std::unique_ptr<BlockListModel> blocks;
        std::size_t begin = 0; // in the text
        int settledBlocks = 0; // those of closed segments
    };

    void readEntry(int row, bool hasOnlyGrown);
    void restart();
    void layOut(std::string_view text);
    [[nodiscard]] QList<TextBlock> parsed(std::size_t segment, std::string_view text) const;
    void beginPage(std::size_t begin);
    void dropPagesAfter(std::size_t count);

    QPointer<EntryListModel> m_entries;
    int m_row = -1;
    Format m_format = Markdown;

    TextSegments m_segments;
    std::size_t m_settledSegments = 0;
    std::size_t m_definitionBytes = 0;
    std::vector<Page> m_pages;
    std::size_t m_openPage = 0; // the last one that the text has reached
    std::size_t m_textSize = 0;
    std::optional<std::size_t> m_textHash; // of the whole text; absent when it has grown since
};

} // namespace tessarin
