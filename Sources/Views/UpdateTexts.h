#pragma once

#include "Updates/UpdateChoice.h"

#include <QString>

#include <string>

namespace tessarin::UpdateTexts
{

// The version of a release as a person reads it, on one line and not long, whatever the feed says: what would be invisible or turn the
// direction of the line is shown by its name.
[[nodiscard]] QString version(const AppcastItem& item);
// What the feed says about a release, as plain text, with the address of notes that stand elsewhere: those are not fetched.
// An address that is too long to be read is left out.
[[nodiscard]] QString notes(const AppcastItem& item);

[[nodiscard]] QString upToDate(const QString& running);
[[nodiscard]] QString found(const QString& running, bool canInstall);
// The same in a build that has no key to verify with.
[[nodiscard]] QString foundInVain(const QString& running);
[[nodiscard]] QString installed();
// Which file is where.
[[nodiscard]] QString kept(const std::string& path);
// "3.1 MB of 45.2 MB", and what happens when all of it has come.
[[nodiscard]] QString progress(qint64 received, qint64 whole);

} // namespace tessarin::UpdateTexts
