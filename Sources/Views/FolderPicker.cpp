#include "Views/FolderPicker.h"

#include <QCollator>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace tessarin
{

void FolderPicker::ask(const Desktop::FolderQuestion& question, Done done)
{
    begin(QString::fromStdString(question.title), QString::fromStdString(question.prompt), std::move(done));
}

void FolderPicker::begin(const QString& title, const QString& prompt, Done done)
{
    finish(std::nullopt);
    m_done = std::move(done);
    m_title = title;
    m_prompt = prompt;
    setProblem({});
    if (m_path.isEmpty() || !enter(m_path)) {
        static_cast<void>(enter(QDir::homePath()) || enter(QDir::rootPath())); // the root is always there
    }
    m_isOpen = true;
    emit openChanged();
}

QStringList FolderPicker::namesIn(const QString& path, QDir::Filters filters)
{
    QStringList names = QDir(path).entryList(filters | QDir::NoDotAndDotDot);
    // The "C" locale has no order for people.
    QCollator collator(QLocale().language() == QLocale::C ? QLocale(QLocale::English) : QLocale());
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::sort(names.begin(), names.end(), collator);
    return names;
}

void FolderPicker::readFolder(const QString& path)
{
    m_folders = namesIn(path, QDir::Dirs);
}

QString FolderPicker::resolved(const QString& path) const
{
    QString expanded = path.trimmed();
    if (expanded == QLatin1String("~") || expanded.startsWith(QLatin1String("~/"))) {
        expanded.replace(0, 1, QDir::homePath());
    }
    return QDir::cleanPath(QDir(m_path).absoluteFilePath(expanded));
}

bool FolderPicker::enter(const QString& path)
{
    const QFileInfo folder(path);
    if (!folder.isDir() || !folder.isReadable()) {
        return false;
    }
    m_path = path;
    readFolder(path);
    m_canGoUp = path != QDir::rootPath();
    emit pathChanged();
    return true;
}

void FolderPicker::goTo(const QString& path)
{
    const QString target = resolved(path);
    setProblem(enter(target) ? QString() : QStringLiteral("There is no folder “%1” that can be opened.").arg(target));
}

void FolderPicker::goUp()
{
    goTo(QStringLiteral(".."));
}

void FolderPicker::createFolder(const QString& name)
{
    const QString path = resolved(name);
    if (name.trimmed().isEmpty() || !QDir().mkpath(path)) {
        setProblem(QStringLiteral("The folder “%1” could not be made.").arg(path));
        return;
    }
    goTo(path);
}

void FolderPicker::submit(const QString& path)
{
    if (path == m_path) {
        accept(path);
    } else {
        goTo(path);
    }
}

void FolderPicker::accept(const QString& path)
{
    goTo(path);
    if (m_problem.isEmpty()) {
        finish(m_path.toStdString());
    }
}

void FolderPicker::cancel()
{
    finish(std::nullopt);
}

void FolderPicker::finish(std::optional<std::string> path)
{
    if (m_isOpen) {
        m_isOpen = false;
        emit openChanged();
    }
    if (const Done done = std::exchange(m_done, {})) {
        done(std::move(path));
    }
}

void FolderPicker::setProblem(const QString& problem)
{
    if (problem != m_problem) {
        m_problem = problem;
        emit problemChanged();
    }
}

} // namespace tessarin
