#pragma once

#include "Views/News.h"

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

namespace tessarin
{

// What a screen reader is told without being asked. What happens within one turn of the main loop is said as one sentence. Main thread
// only; owned by WindowModel.
class Announcer : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its announcer")
    Q_PROPERTY(QString text MEMBER m_text NOTIFY textChanged)
public:
    explicit Announcer(QObject* parent = nullptr);

    void tell(const News& news);

signals:
    void textChanged();
    void said(); // also when the same text is said again

private:
    QString m_text;
};

} // namespace tessarin
