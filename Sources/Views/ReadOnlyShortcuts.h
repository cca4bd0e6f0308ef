#pragma once

#include <QObject>

namespace tessarin
{

// A read-only text view that has the focus accepts every ShortcutOverride in Qt 6.4, so that after a click into a message no shortcut of
// the program works. Installed on the application, this filter leaves a view its copying and selecting and gives the rest back.
class ReadOnlyShortcuts : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    bool eventFilter(QObject* receiver, QEvent* event) override;
};

} // namespace tessarin
