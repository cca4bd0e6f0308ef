#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <qqmlintegration.h>

namespace tessarin
{

// A piece of running text in one style.
struct TextRun {
    // What a word of code is; `Plain` for all other text.
    enum class Word { Plain, Keyword, Literal, Number, Comment };

    QString text;
    Word word = Word::Plain;
    bool isStrong = false;
    bool isEmphasis = false;
    bool isStruck = false;
    bool isCode = false;
    QString link; // where it leads; empty for plain text
    bool operator==(const TextRun&) const = default;
};

// The content of one text view.
struct StyledRuns {
    Q_GADGET
    QML_VALUE_TYPE(styledRuns)
public:
    QList<TextRun> runs;

    // All runs without their styles.
    [[nodiscard]] QString plainText() const;
    [[nodiscard]] static StyledRuns fromText(QString text);
    bool operator==(const StyledRuns&) const = default;
};

// A link of a text as it is shown: where it stands, and where it leads.
struct TextLink {
    Q_GADGET
    QML_VALUE_TYPE(textLink)
    Q_PROPERTY(int begin MEMBER begin)
    Q_PROPERTY(int end MEMBER end)
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(QString address MEMBER address)
public:
    int begin = 0; // in characters of the text
    int end = 0;
    QString text;
    QString address; // as LinkRules show it
    bool operator==(const TextLink&) const = default;
};

// A table as it is laid out: cells row by row, the heading first.
struct TableCells {
    Q_GADGET
    QML_VALUE_TYPE(tableCells)
    Q_PROPERTY(int columns MEMBER columns)
    Q_PROPERTY(int count READ count)
public:
    int columns = 0;
    QList<StyledRuns> cells; // a multiple of `columns`
    QList<Qt::AlignmentFlag> alignments; // of each column, none where the table says nothing

    [[nodiscard]] int count() const { return static_cast<int>(cells.size()); }
    // Empty, and without an alignment, for a cell that is not there.
    Q_INVOKABLE tessarin::StyledRuns cell(int index) const { return cells.value(index); }
    Q_INVOKABLE int alignment(int column) const { return alignments.value(column, {}); }
    bool operator==(const TableCells&) const = default;
};

class BlockKind : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("BlockKind is a set of values")
public:
    enum Value { Paragraph, Heading, Code, Table, Rule };
    Q_ENUM(Value)
};

// One block of laid-out text. Nesting is flat: a block says how deep it stands in lists and quotes.
struct TextBlock {
    BlockKind::Value kind = BlockKind::Paragraph;
    int level = 0; // of a heading, from 1
    int listDepth = 0;
    int quoteDepth = 0;
    QString marker; // of the item that begins with this block: "•", "3.", "☐", "☑"; empty otherwise
    bool isItem = false; // in a list, where blocks stand closer
    StyledRuns content; // of all but a table; code without its last line end
    QString language; // of a code block, as it was written
    bool isContinued = false; // goes on with the code of the block before, or in the midst of a line
    QString joint; // what stands between the two then: the end of a line, a blank or nothing
    bool isEndless = false; // a part of a line that is too long for a block
    TableCells table;

    // Whether it is read from right to left, which its first letters decide; code and tables never are.
    [[nodiscard]] bool isRightToLeft() const;
    // The mark of its item as Markdown writes it, with its indentation and a blank; empty where the block begins no item.
    [[nodiscard]] QString lead() const;
    bool operator==(const TextBlock&) const = default;
};

} // namespace tessarin
