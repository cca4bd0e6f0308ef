#pragma once

#include "Platform/Json.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// What stands around one value in a line that streams a piece of text or another update. A runtime writes it alike line after line, and it
// is often longer than what it carries: once it is known, only the value is parsed. Exactly the lines are read so that have the same bytes
// around one whole JSON value; a line is never taken for something else than it is when it is parsed whole. Not thread-safe.
class LineEnvelope
{
public:
    // `path`: the keys from the message down to the value, with dots between them. `unreadKey`: of a value that differs in every line and
    // that nobody reads, such as a time; only one that comes after the value, and is a whole number or a text of letters, digits, `-` and
    // `_`, is passed over.
    explicit LineEnvelope(std::string_view path, std::string_view unreadKey = {});

    // The value of a line in the known envelope, in `storage`. Absent for any other line, which has to be parsed whole.
    [[nodiscard]] std::optional<Json> valueIn(std::string_view line, const boost::json::storage_ptr& storage);
    // Requires: `line` has been parsed whole, and the value at the path, an object or a text, was taken from it. From now on this is the
    // known envelope: whatever was decided about that line from what is around the value holds for every line in it.
    void learn(std::string_view line);

private:
    void splitEnd(std::string_view end);
    [[nodiscard]] bool isValueAtPath() const;
    [[nodiscard]] bool cutEnd(std::string_view& text) const;

    std::vector<std::string> m_path; // the keys
    std::string m_unreadKey;
    std::string m_start; // up to the value; empty while no envelope is known
    std::string m_end; // what comes after it, up to the value that nobody reads if there is one
    std::optional<std::string> m_rest; // what comes after that one
    // A runtime whose envelopes differ from line to line is not worth the comparing.
    int m_chancesToLearn;
};

} // namespace tessarin
