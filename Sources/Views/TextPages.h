#pragma once

#include "Views/BlockListModel.h"
#include "Views/TextSegments.h"

#include <QPointer>
#include <QQmlParserStatus>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

class EntryListModel;

// The text of one entry, laid out as pages of blocks. A page holds about a thousand characters, so that a view can leave out the pages that
// nobody sees: blocks are made for the pages that are asked for, and dropped when they are given back. While the text streams, only what
// stands behind the last place that can no longer change is parsed again, and only the blocks that differ are told.
class TextPages : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(tessarin::EntryListModel* entries MEMBER m_entries REQUIRED)
    Q_PROPERTY(int row MEMBER m_row REQUIRED)
    Q_PROPERTY(Format format MEMBER m_format REQUIRED)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_MOC_INCLUDE("Views/EntryListModel.h")
public:
    enum Format { Markdown, Plain };
    Q_ENUM(Format)

    // A page is closed above this size. What exists of a text is moved with each change of it, so pages are smaller than a window.
    static constexpr std::size_t pageByteLimit = 1024;

    explicit TextPages(QObject* parent = nullptr);
    explicit TextPages(Format format);
    ~TextPages() override;

    // The text as it is now. One that does not begin with the text before is laid out anew.
    void setText(std::string_view text);
    // The text has only grown at its end since the last call, which spares the comparison.
    void growText(std::string_view text);

    [[nodiscard]] int count() const { return static_cast<int>(m_pages.size()); }

    // The blocks of a page, which stay true until the last one that took them is gone; null for a page that is not there.
    Q_INVOKABLE tessarin::BlockListModel* takeBlocks(int page, QObject* taker);
    // The whole code of the block, with the blocks that go on with it.
    Q_INVOKABLE QString code(int page, int block) const;

    void classBegin() override { }
    void componentComplete() override;

signals:
    void countChanged();

private:
    struct Page {
        std::size_t firstSegment = 0;
        std::unique_ptr<BlockListModel> blocks; // absent until they are asked for
        int takers = 0;
        std::size_t settledSegments = 0; // closed ones that stand in the blocks
        int settledBlocks = 0; // and how many blocks they are
    };

    void readEntry(int row, bool hasOnlyGrown);
    void restart();
    void unsettle();
    void placePages();
    void giveBlocksBack(std::size_t page, const BlockListModel* blocks);
    void makeBlocks(std::size_t page);
    void fill(std::size_t page);
    [[nodiscard]] std::optional<TextBlock> blockBefore(std::size_t page) const;
    [[nodiscard]] QList<TextBlock> parsed(std::size_t segment) const;
    [[nodiscard]] QList<TextBlock> markdownBlocks(std::size_t segment, std::string_view part, bool isInLine) const;
    [[nodiscard]] QList<TextBlock> parsedPage(std::size_t page) const;
    [[nodiscard]] std::string_view text() const;

    QPointer<EntryListModel> m_entries;
    int m_row = -1;
    Format m_format = Markdown;

    TextSegments m_segments;
    std::size_t m_definitionBytes = 0;
    std::size_t m_placedSegments = 0; // that have their page
    std::size_t m_placedPages = 0;
    std::size_t m_firstOpenPage = 0; // from here on blocks may change
    std::vector<Page> m_pages;
    std::string m_ownText; // without an entry to read
    std::size_t m_textSize = 0;
    std::optional<std::size_t> m_textHash; // of the whole text; absent when it has grown since
};

} // namespace tessarin
