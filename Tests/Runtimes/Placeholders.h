#pragma once

#include <boost/json.hpp>

#include <cstddef>
#include <map>
#include <string>

namespace scripted
{

// What the placeholders of a step stand for.
struct Placeholders {
    std::size_t round = 0; // "{n}"
    const boost::json::object* message = nullptr; // "${params.sessionId}": a path in the last expected message
    const std::map<std::string, boost::json::object>* kept = nullptr; // "${name:params.sessionId}": in the one that was kept so
};

[[nodiscard]] std::string filled(std::string text, const Placeholders& placeholders);
// At every depth, values only. A text that is one "${path}" as a whole becomes the value itself, whatever its type.
[[nodiscard]] boost::json::value filled(const boost::json::value& value, const Placeholders& placeholders);

// True when every key of `pattern` stands in `value` with a value that it matches; other values match when they are equal.
[[nodiscard]] bool matches(const boost::json::value& value, const boost::json::value& pattern);

} // namespace scripted
