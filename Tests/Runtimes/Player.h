#pragma once

#include "Placeholders.h"
#include "Record.h"
#include "Streams.h"

#include <boost/json.hpp>

#include <cstddef>
#include <map>
#include <string>

namespace scripted
{

// Plays the steps of one script. Knows the frames of JSON-RPC and of control messages as far as `reply` and `always` need them;
// everything else is in the script.
class Player
{
public:
    Player(boost::json::object script, std::string folder, Record& record);

    // Plays all steps. The program may end inside.
    void play(const boost::json::array& steps);
    // Goes on answering until standard input closes.
    void playOut();
    [[noreturn]] void exitWith(int status);

private:
    void playStep(const boost::json::object& step);
    bool playProtocolStep(const std::string& name, const boost::json::object& step);
    bool playStreamStep(const std::string& name, const boost::json::object& step);
    bool playProcessStep(const std::string& name, const boost::json::object& step);

    void expect(const boost::json::value& expectation);
    bool takeExpected(const boost::json::value& expectation);
    void answerAlways(const boost::json::value* expectation);
    void answer(const boost::json::object& request, const char* kind, const boost::json::value& content);
    void repeat(const boost::json::object& step);
    void fill(std::size_t byteCount, const std::string& text);
    void waitForFile(const std::string& name);
    void startGrandchild(const std::string& name);
    [[noreturn]] void fail(const std::string& reason);

    const boost::json::object m_script;
    const std::string m_folder;
    Record& m_record;
    Streams m_streams;
    Placeholders m_placeholders;
    boost::json::object m_current; // the last expected message
    std::map<std::string, boost::json::object> m_kept; // by the name that an `expect` gave them
    std::map<std::string, boost::json::object> m_lastRequests; // by method, of those that were taken
    std::string m_sessionId = "session-1";
    bool m_hasClosedInput = false;
};

} // namespace scripted
