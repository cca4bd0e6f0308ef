#pragma once

#include "Platform/Desktop.h"

#include <QDir>
#include <QObject>
#include <QStringList>
#include <qqmlintegration.h>

#include <functional>
#include <optional>
#include <string>

namespace tessarin
{

// The window's own dialog for a folder, for desktops that offer none: where the person stands, what folders are there, and the way to a
// new one. Main thread only.
class FolderPicker : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The program makes its folder picker")
    Q_PROPERTY(bool isOpen MEMBER m_isOpen NOTIFY openChanged)
    Q_PROPERTY(QString title MEMBER m_title NOTIFY openChanged)
    Q_PROPERTY(QString prompt MEMBER m_prompt NOTIFY openChanged)
    Q_PROPERTY(QString path MEMBER m_path NOTIFY pathChanged)
    Q_PROPERTY(QStringList folders MEMBER m_folders NOTIFY pathChanged)
    Q_PROPERTY(bool canGoUp MEMBER m_canGoUp NOTIFY pathChanged)
    Q_PROPERTY(QString problem MEMBER m_problem NOTIFY problemChanged)
public:
    using Done = std::function<void(std::optional<std::string>)>;

    // Begins in the person's home folder, later where they were last. An open question is given up first.
    void ask(const Desktop::FolderQuestion& question, Done done);

    // Into the folder of that path; "~" is the home folder, and a relative path begins where the person stands.
    Q_INVOKABLE void goTo(const QString& path);
    Q_INVOKABLE void goUp();
    Q_INVOKABLE void createFolder(const QString& name);
    // Return in the field of the path: where the person stands is the answer, and any other path is gone to.
    Q_INVOKABLE virtual void submit(const QString& path);
    // The folder of that path, as in goTo, is the answer. A path that is no folder leaves the dialog open and says so.
    Q_INVOKABLE virtual void accept(const QString& path);
    Q_INVOKABLE void cancel();

signals:
    void openChanged();
    void pathChanged();
    void problemChanged();

protected:
    void begin(const QString& title, const QString& prompt, Done done);
    [[nodiscard]] QString resolved(const QString& path) const;
    void finish(std::optional<std::string> path);
    void setProblem(const QString& problem);
    [[nodiscard]] const QString& path() const { return m_path; }
    // What is in the folder at that path; it can be read.
    virtual void readFolder(const QString& path);
    // In the order in which people look for them.
    [[nodiscard]] static QStringList namesIn(const QString& path, QDir::Filters filters);

private:
    [[nodiscard]] bool enter(const QString& path);

    Done m_done;
    bool m_isOpen = false;
    QString m_title;
    QString m_prompt;
    QString m_path;
    QStringList m_folders;
    bool m_canGoUp = false;
    QString m_problem;
};

} // namespace tessarin
