#include "Views/QtDesktop.h"

#include "Platform/BackgroundWork.h"
#include "Platform/Trash.h"
#include "Views/TerminalProgram.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMimeData>
#include <QUrl>
#include <QWindow>

#include <memory>
#include <utility>

namespace tessarin
{

namespace
{

// Portals know a window of X11 by its number. One of Wayland would have to be exported first, which Qt 6.4 cannot do.
QString portalNameOf(const QWindow* window)
{
    const bool isNumbered = window != nullptr && QGuiApplication::platformName() == QLatin1String("xcb");
    return isNumbered ? QStringLiteral("x11:") + QString::number(window->winId(), 16) : QString();
}

std::optional<std::string> pathOf(const DesktopPortal::PathAnswer& answer)
{
    return answer.path ? std::optional(answer.path->toStdString()) : std::nullopt;
}

} // namespace

QtDesktop::QtDesktop(DesktopPortal& portal, FolderPicker& folderPicker, FilePicker& filePicker)
    : m_portal(portal), m_folderPicker(folderPicker), m_filePicker(filePicker)
{
}

void QtDesktop::chooseFolder(const FolderQuestion& question, std::function<void(std::optional<std::string>)> done)
{
    choosePath(
        { DesktopPortal::PathDialog::Kind::folder, QString::fromStdString(question.title), QString::fromStdString(question.prompt), {} },
        std::move(done), [this, question](PathDone answered) { m_folderPicker.ask(question, std::move(answered)); });
}

void QtDesktop::chooseFile(const FileQuestion& question, std::function<void(std::optional<std::string>)> done)
{
    choosePath(
        { DesktopPortal::PathDialog::Kind::file, QString::fromStdString(question.title), QString::fromLatin1(FilePicker::acceptLabel), {} },
        std::move(done), [this, question](PathDone answered) { m_filePicker.ask(question, std::move(answered)); });
}

void QtDesktop::choosePath(DesktopPortal::PathDialog dialog, PathDone done, std::function<void(PathDone)> askOurs)
{
    if (std::exchange(m_isChoosing, true)) {
        QMetaObject::invokeMethod(
            &m_portal, [done = std::move(done)] { done(std::nullopt); }, Qt::QueuedConnection);
        return;
    }
    dialog.parent = portalNameOf(QGuiApplication::focusWindow());
    m_portal.choosePath(dialog, [this, done = std::move(done), askOurs = std::move(askOurs)](const DesktopPortal::PathAnswer& answer) {
        m_isChoosing = false;
        if (answer.isOffered) {
            done(pathOf(answer));
        } else {
            askOurs(done);
        }
    });
}

void QtDesktop::reveal(const std::string& path)
{
    const QString shown = QString::fromStdString(path);
    m_portal.showInFileManager(shown, [shown](bool isShown) {
        if (!isShown) {
            const QFileInfo item(shown);
            QDesktopServices::openUrl(QUrl::fromLocalFile(item.isDir() ? shown : item.path()));
        }
    });
}

void QtDesktop::open(const std::string& path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(path)));
}

void QtDesktop::moveToTrash(const std::string& path)
{
    // A file that stays because it can't be moved, or is gone already, is no concern of the person by design.
    runInBackground([path] { static_cast<void>(tessarin::moveToTrash(path)); });
}

void QtDesktop::copyToPasteboard(const std::string& text)
{
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void QtDesktop::copySecretToPasteboard(const std::string& text)
{
    // The managers of the common desktops agree on this mark: KDE's, KeePassXC's, CopyQ, and what follows them.
    const QString mark = QStringLiteral("x-kde-passwordManagerHint");
    auto data = std::make_unique<QMimeData>();
    data->setText(QString::fromStdString(text));
    data->setData(mark, QByteArrayLiteral("secret"));
    QGuiApplication::clipboard()->setMimeData(data.release());
}

void QtDesktop::openTerminal(std::function<void(bool wasOpened)> done)
{
    done(TerminalProgram::open());
}

} // namespace tessarin
