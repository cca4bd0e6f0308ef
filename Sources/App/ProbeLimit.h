#pragma once

#include "Models/AgentProvider.h"

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace tessarin
{

// Keeps the probes of one program from becoming a crowd: each letter of a path that is typed asks again, and a program may take seconds to
// tell its version. Main thread only; owned by AppModel.
// It bounds the questions of one model, each of them one command or two in turn, and one that waits can be forgotten as a whole. The
// commands themselves belong to the process, whose end stops them without a count (CommandGroup): one owner of both would have to know
// which command belongs to which question of whom.
class ProbeLimit
{
public:
    using Program = std::pair<AgentProvider, std::string>; // who is asked about, and the path of the executable
    using Start = std::function<void()>;

    // Two, so that one which never ends does not keep a later one from an answer.
    static constexpr int atOnce = 2;

    // Starts the probe, at once or when one of the same program has ended. Of those that wait the last stays and the others are
    // forgotten: it asks the same and is the newest.
    void run(const Program& program, Start start);
    // One that was started has ended.
    void end(const Program& program);

private:
    struct UnderWay {
        int count = 0;
        Start waiting; // empty when none does
    };

    std::map<Program, UnderWay> m_programs;
};

} // namespace tessarin
