#include "Views/ReadOnlyShortcuts.h"

#include <QKeyEvent>

namespace tessarin
{

bool ReadOnlyShortcuts::eventFilter(QObject* receiver, QEvent* event)
{
    const bool isReadOnlyText
        = event->type() == QEvent::ShortcutOverride && receiver->inherits("QQuickTextEdit") && receiver->property("readOnly").toBool();
    if (!isReadOnlyText) {
        return false;
    }
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->matches(QKeySequence::Copy) || key->matches(QKeySequence::SelectAll)) {
        return false;
    }
    event->ignore();
    return true;
}

} // namespace tessarin
