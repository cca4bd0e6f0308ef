#pragma once

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

namespace tessarin
{

// What a person does with a text: copy it, follow its links.
class PageActions : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;

    Q_INVOKABLE void copy(const QString& text) const;
    // Opens an address of the web or of mail with the desktop's program; nothing else is opened.
    Q_INVOKABLE void openLink(const QString& link) const;
};

} // namespace tessarin
