#include "Views/FilePicker.h"

#include <QFileInfo>

#include <utility>

namespace tessarin
{

void FilePicker::ask(const Desktop::FileQuestion& question, Done done)
{
    begin(QString::fromStdString(question.title), QString::fromLatin1(acceptLabel), std::move(done));
}

void FilePicker::readFolder(const QString& path)
{
    m_entries = namesIn(path, QDir::Dirs | QDir::Hidden);
    for (QString& folder : m_entries) {
        folder.append(QLatin1Char('/'));
    }
    m_entries += namesIn(path, QDir::Files);
}

QString FilePicker::pathOf(const QString& entry) const
{
    return QDir(path()).filePath(entry);
}

void FilePicker::submit(const QString& path)
{
    accept(path);
}

void FilePicker::accept(const QString& path)
{
    // A name from the list may have blanks around it.
    const QString target = QFileInfo::exists(path) && QDir::isAbsolutePath(path) ? path : resolved(path);
    if (QFileInfo(target).isFile()) {
        finish(target.toStdString());
    } else if (QFileInfo(target).isDir()) {
        goTo(target);
    } else {
        setProblem(QStringLiteral("There is no file “%1”.").arg(target));
    }
}

} // namespace tessarin
