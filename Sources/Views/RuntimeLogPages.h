#pragma once

#include "App/ModelChange.h"
#include "Views/PagedText.h"

#include <QPointer>
#include <QQmlParserStatus>
#include <QTimer>

#include <memory>

namespace tessarin
{

class AppModel;
class WindowModel;

// What the runtimes wrote beside their messages since a task last started one, page by page, and what a person needs besides to report a
// problem. Hears of the log only while it exists; what comes in a burst is told once a frame. Main thread only.
// The base is written with its namespace, as in TextSelection.
class RuntimeLogPages : public tessarin::PagedText, public QQmlParserStatus
{
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(tessarin::WindowModel* windowModel MEMBER m_windowModel REQUIRED)
    Q_PROPERTY(bool isEmpty MEMBER m_isEmpty NOTIFY emptyChanged)
    Q_PROPERTY(tessarin::StyledRuns versions READ versions NOTIFY versionsChanged)
    Q_MOC_INCLUDE("Views/WindowModel.h")
public:
    static constexpr int frameMilliseconds = 16;

    explicit RuntimeLogPages(QObject* parent = nullptr);
    ~RuntimeLogPages() override;

    [[nodiscard]] tessarin::StyledRuns versions() const;
    // The versions and the whole log, as they are shown.
    [[nodiscard]] Q_INVOKABLE QString report() const;

    void classBegin() override { }
    // Requires: the window has its model.
    void componentComplete() override;

signals:
    void emptyChanged();
    void versionsChanged();

protected:
    [[nodiscard]] std::string_view text() const override;
    [[nodiscard]] QString shown(std::string_view part) const override;

private:
    void note(const ModelChange& change);
    void readLog();

    QPointer<WindowModel> m_windowModel;
    QString m_home; // of the person
    std::shared_ptr<AppModel> m_model;
    std::shared_ptr<void> m_subscription; // to the changes of m_model
    QTimer m_timer;
    std::size_t m_notedSize = 0;
    bool m_isReplaced = false; // since the log was read
    bool m_isEmpty = true;
};

} // namespace tessarin
