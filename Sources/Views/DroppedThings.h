#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <qqmlintegration.h>

namespace tessarin
{

// What a person has dragged over the window, by what it is for: folders become projects wherever they are dropped, anything else is text
// for the message.
class DroppedThings : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;

    // The paths of the folders of this machine among them, in their order, each once.
    Q_INVOKABLE QStringList folders(const QList<QUrl>& urls) const;
    // What goes into the message: the paths of files, one a line, else the text itself. Empty where there is a folder.
    Q_INVOKABLE QString text(const QList<QUrl>& urls, const QString& text) const;
};

} // namespace tessarin
