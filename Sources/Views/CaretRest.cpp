#include "Views/CaretRest.h"

#include <QEvent>
#include <QGuiApplication>
#include <QStyleHints>

#include <utility>

namespace tessarin
{

CaretRest::CaretRest(std::chrono::milliseconds restsAfter)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(restsAfter);
    connect(&m_timer, &QTimer::timeout, this, &CaretRest::rest);
    m_timer.start();
}

bool CaretRest::eventFilter(QObject* /*receiver*/, QEvent* event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::InputMethod:
    case QEvent::MouseButtonPress:
    case QEvent::FocusIn:
        wake();
        break;
    default:
        break;
    }
    return false;
}

void CaretRest::wake()
{
    m_timer.start();
    if (std::exchange(m_isResting, false)) {
        constexpr int ofTheSystem = -1;
        QGuiApplication::styleHints()->setCursorFlashTime(ofTheSystem);
    }
}

void CaretRest::rest()
{
    constexpr int steady = 0;
    m_isResting = true;
    QGuiApplication::styleHints()->setCursorFlashTime(steady);
}

} // namespace tessarin
