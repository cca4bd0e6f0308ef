#pragma once

#include "Services/SessionUpdate.h"

#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// What stands around the update in a `session/update` line. A runtime writes it alike in every line of a session, and it is about as long
// as what it carries: once it is known, only the update is parsed. Exactly the lines that have the same bytes around one whole JSON
// object are read so; a line is never taken for something else than it is when it is parsed whole. Not thread-safe.
class UpdateEnvelope
{
public:
    // The update of a line in the known envelope, in `storage`. Absent for any other line, which has to be parsed whole.
    [[nodiscard]] std::optional<SessionUpdate> updateIn(std::string_view line, const boost::json::storage_ptr& storage) const;
    // `line` has been parsed whole and carries an update: its envelope is the known one from now on.
    void learn(std::string_view line);

private:
    std::string m_start; // up to the update; empty while none is known
    std::string m_end; // what comes after it
    // A runtime whose envelopes differ from line to line is not worth the comparing.
    int m_chancesToLearn = 16;
};

} // namespace tessarin
