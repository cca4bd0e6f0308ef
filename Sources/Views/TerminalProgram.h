#pragma once

#include <QStringList>

#include <functional>
#include <optional>

namespace tessarin
{

// The person's terminal application on Linux.
namespace TerminalProgram
{

// What may be there, best first: the desktop's own choice, $TERMINAL, the distribution's choice, the known ones.
[[nodiscard]] QStringList candidates(const QString& terminalVariable);
// The whole path of the first that `find` knows; absent when there is none.
[[nodiscard]] std::optional<QString> choose(const QStringList& candidates, const std::function<QString(const QString& name)>& find);
// Opens one, detached from us. False when there is none, or it does not start.
[[nodiscard]] bool open();

} // namespace TerminalProgram

} // namespace tessarin
