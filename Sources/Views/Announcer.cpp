#include "Views/Announcer.h"

#include "Views/NotificationRules.h"

namespace tessarin
{

Announcer::Announcer(QObject* parent) : QObject(parent) { }

void Announcer::tell(const News& news)
{
    const QString text = NotificationRules::announcement(news);
    if (!text.isEmpty()) {
        m_text = text;
        emit textChanged();
        emit said();
    }
}

} // namespace tessarin
