#pragma once

#include "Views/TextBlock.h"

namespace tessarin
{

// Code as runs: comments, literals, numbers and the keywords of its language apart from the rest. A language without rules stays one
// plain run. The words are found by their form alone; a construct that spans the begin of the text is not known.
[[nodiscard]] StyledRuns highlightedCode(const QString& code, const QString& language);

} // namespace tessarin
