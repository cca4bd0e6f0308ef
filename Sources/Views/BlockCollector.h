#pragma once

#include "Views/TextBlock.h"

#include <QList>
#include <QString>
#include <md4c.h>

#include <vector>

namespace tessarin
{

// Collects flat blocks while the Markdown parser (md4c) walks through a document and calls these operations.
class BlockCollector
{
public:
    void enterBlock(MD_BLOCKTYPE type, void* detail);
    void leaveBlock(MD_BLOCKTYPE type);
    void enterSpan(MD_SPANTYPE type, void* detail);
    void leaveSpan(MD_SPANTYPE type);
    void addText(MD_TEXTTYPE type, const MD_CHAR* text, MD_SIZE size);

    QList<TextBlock> take() { return std::move(m_blocks); }

private:
    struct List {
        bool isOrdered = false;
        unsigned next = 1;
        char delimiter = '.';
    };

    void begin(BlockKind::Value kind);
    void finish();
    void beginItem(const MD_BLOCK_LI_DETAIL& detail);
    void beginCell(MD_ALIGN align);
    void addRun(QString text);

    QList<TextBlock> m_blocks;
    TextBlock m_block;
    QString m_code; // of the open code block
    bool m_isOpen = false;
    std::vector<List> m_lists;
    int m_quoteDepth = 0;
    QString m_marker; // waits for the first block of its item
    StyledRuns m_cell;
    bool m_isInCell = false;
    TextRun m_style; // without its text
    int m_strongDepth = 0;
    int m_emphasisDepth = 0;
    int m_struckDepth = 0;
    std::vector<QString> m_links; // an image within a link leads where the link leads
};

} // namespace tessarin
