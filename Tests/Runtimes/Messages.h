#pragma once

#include <boost/json.hpp>

#include <optional>
#include <string>

namespace scripted
{

// By what a script calls a message: its `method`; without one its `type`, with "/" and the `subtype` of its `request` if it has one.
// Empty for an answer.
[[nodiscard]] std::string nameOf(const boost::json::object& message);
// A text is the name; {"response":7} an answer with that id; any other object a pattern that the message matches.
[[nodiscard]] bool meets(const boost::json::object& message, const boost::json::value& expectation);
// The text at `params.sessionId`.
[[nodiscard]] std::optional<std::string> sessionIdOf(const boost::json::object& message);
// `kind` is "result" or "error". A message with `request_id` is answered as a control message, any other by JSON-RPC.
[[nodiscard]] boost::json::object answerTo(
    const boost::json::object& request, const char* kind, const boost::json::value& content, bool withVersion);

} // namespace scripted
