#pragma once

#include "Views/TextBlock.h"
#include "Views/TextSegments.h"

#include <QAbstractListModel>

#include <string_view>

namespace tessarin
{

// A long text that is shown as it stands, in pages of some thousand characters, each a row. A page becomes a QString when it is asked for,
// so that 20 MB cost no more than finding where the pages begin, and a text that grows no more than what it grew by. Main thread only.
class PagedText : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Those that know where their text is are made")
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    // How many lines there are, as far as they are counted. One that is in pieces is as good as many, since it is wrapped.
    Q_PROPERTY(int lineCount READ lineCount NOTIFY lineCountChanged)
public:
    // Enough to know whether the text fills its view.
    static constexpr int mostCountedLines = 100;

    enum Role {
        ContentRole = Qt::UserRole,
        ContinuedRole, // it begins in the midst of a line
        EndlessRole // it is a part of a line that is too long for a page, and has no other
    };

    enum class Growth { atItsEnd, anew };

    [[nodiscard]] int count() const { return m_rowCount; }
    [[nodiscard]] int lineCount() const { return m_lineCount; }
    // All pages.
    [[nodiscard]] Q_INVOKABLE QString wholeText() const;
    // For what shows pages without asking for roles. Empty, and not continued, for one that is not there.
    [[nodiscard]] Q_INVOKABLE tessarin::StyledRuns content(int page) const;
    [[nodiscard]] Q_INVOKABLE bool isContinued(int page) const;
    [[nodiscard]] Q_INVOKABLE bool isEndless(int page) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void countChanged();
    void lineCountChanged();

protected:
    explicit PagedText(QObject* parent);

    // The text as it is now. It may change before `read` is called for that.
    [[nodiscard]] virtual std::string_view text() const = 0;
    // What a person sees of a part of it.
    [[nodiscard]] virtual QString shown(std::string_view part) const;
    // The text has changed: it has only grown, or is another one.
    void read(Growth growth);

private:
    void countLines(std::string_view text);
    [[nodiscard]] bool isCutBefore(std::size_t page) const;
    [[nodiscard]] std::string_view pageText(std::size_t page) const;

    TextSegments m_segments{ TextSegments::Format::plain };
    int m_rowCount = 0; // as it was told
    int m_lineCount = 0;
};

} // namespace tessarin
