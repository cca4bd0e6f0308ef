#pragma once

#include "Platform/Json.h"

namespace tessarin
{

// One conversation event in the shape that all clients hand on: a map keyed by `sessionUpdate`. Vendor keys are kept.
// Keys: sessionUpdate, content {type, text}, messageId, toolCallId, title, status, rawInput, entries [{id, content, status, priority}].
using SessionUpdate = JsonObject;

} // namespace tessarin
