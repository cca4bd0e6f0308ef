#pragma once

#include "Platform/Json.h"

namespace tessarin
{

// One conversation event in the shape that all clients hand on: a map keyed by `sessionUpdate`. Vendor keys are kept.
// Keys: sessionUpdate, content {type, text}, messageId, toolCallId, title, status, rawInput, entries [{id, content, status, priority}].
//
// What onSessionUpdate passes lives as long as the call: all updates of one read share one piece of memory that is freed at once, and
// a plain copy of a Boost.JSON value stays in the memory of its original. What is kept is taken out as text, or with keptCopy.
using SessionUpdate = JsonObject;

// A copy that owns its memory.
[[nodiscard]] inline JsonObject keptCopy(const JsonObject& object)
{
    return JsonObject(object, boost::json::storage_ptr());
}

} // namespace tessarin
