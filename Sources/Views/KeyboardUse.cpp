#include "Views/KeyboardUse.h"

#include <QGuiApplication>
#include <QKeyEvent>

namespace tessarin
{

namespace
{

bool isModifier(int key)
{
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt || key == Qt::Key_AltGr || key == Qt::Key_Meta;
}

} // namespace

KeyboardUse::KeyboardUse(QObject* parent) : QObject(parent)
{
    qGuiApp->installEventFilter(this);
}

KeyboardUse::~KeyboardUse() = default;

bool KeyboardUse::eventFilter(QObject* receiver, QEvent* event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
        if (!isModifier(static_cast<QKeyEvent*>(event)->key())) {
            set(true);
        }
        break;
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
        set(false);
        break;
    default:
        break;
    }
    return QObject::eventFilter(receiver, event);
}

void KeyboardUse::set(bool isOn)
{
    if (isOn != m_isOn) {
        m_isOn = isOn;
        emit changed();
    }
}

} // namespace tessarin
