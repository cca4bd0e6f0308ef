#pragma once

#include "Models/ChatEntry.h"

#include <QAbstractListModel>
#include <QElapsedTimer>
#include <QTimer>
#include <qqmlintegration.h>

#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

namespace tessarin
{

// The entries of the selected task, one row each, for a list that builds only the rows that are seen: a text becomes a QString when its
// row asks for it. Changes are gathered and told at most once a frame, each as the one role of the one row that changed; the model is
// reset only when another list takes its place. Main thread only.
class EntryListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The conversation makes its list of entries")
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Role {
        KindRole = Qt::UserRole,
        EntryIDRole,
        SpeakerRole,
        TitleRole,
        StatusRole,
        StatusTintRole,
        SymbolRole,
        HasTextRole,
        GapRole
    };

    // The list as it is at the moment of the call. Requires: it stays as the changes told to this model leave it.
    using Source = std::function<const std::vector<ChatEntry>&()>;
    explicit EntryListModel(Source source, QObject* parent = nullptr);

    // What happened to the list, told after each change.
    void noteReset();
    void noteAppended();
    void noteTextAppended(std::size_t index);
    void noteChanged(std::size_t index);
    // Tells what was gathered, now.
    void flush();

    [[nodiscard]] int count() const { return m_count; }
    // Empty for a row that is not there. Valid until the list changes.
    [[nodiscard]] std::string_view entryText(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void countChanged();
    // `hasOnlyGrown`: what was there before still stands at its begin.
    void entryTextChanged(int row, bool hasOnlyGrown);
    // The text of the last entry has become another one: the list scrolls there.
    void lastTextChanged();

private:
    struct Pending {
        bool isReplaced = false; // not only its text, and not only at its end
    };

    void gather();
    void rememberLastText();
    void tellRow(int row, const Pending& pending);
    [[nodiscard]] const ChatEntry* entryAt(int row) const;

    // No more than one telling in this time, about a frame.
    static constexpr int frameMilliseconds = 16;

    Source m_source;
    int m_count = 0; // as it was told
    std::map<std::size_t, Pending> m_pending;
    bool m_scrolls = false;
    std::optional<std::size_t> m_lastTextHash; // of a tool card, whose text is replaced; absent when it is not known
    QTimer m_timer;
    QElapsedTimer m_sinceFlush;
};

} // namespace tessarin
