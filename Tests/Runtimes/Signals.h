#pragma once

#include "Record.h"

namespace scripted
{

// How the player takes SIGTERM: it records it and dies of it at once, whatever it is doing. SIGPIPE is survived from the start on.
void installSignals(const Record& record);
// From now on SIGTERM is recorded and survived.
void ignoreTerm();
// From now on SIGTERM is recorded and ends the player with that status.
void exitOnTerm(int status);
// For a child of ours, which the player's record does not speak for.
void restoreTerm();

// Ends the player by that signal.
[[noreturn]] void dieBySignal(int signal);

} // namespace scripted
