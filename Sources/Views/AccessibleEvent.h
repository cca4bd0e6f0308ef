#pragma once

#include <QObject>

namespace tessarin::AccessibleEvent
{

// Tells screen readers of a state that Qt 6.4 keeps to itself, by its name on the accessibility bus ("expanded"). Does nothing where
// nobody is connected to that bus.
void tellState(QObject& object, const char* state, bool isSet);

} // namespace tessarin::AccessibleEvent
