#pragma once

#include "Demo/Connection.h"
#include "Demo/TurnWriter.h"

#include <optional>
#include <string>

namespace demo
{

// Which vendor's program is played.
struct Role {
    std::string program; // "grok"
    std::string name; // "Grok"
    // Its allowance ends with the second prompt, or with one that speaks of a limit, and stays used up.
    bool hasAllowance = true;
};

// One agent that speaks the Agent Client Protocol, version 1. It touches no file and no network.
class Agent
{
public:
    // `pace` is the factor on all waiting; 0 for none.
    Agent(Role role, double pace);

    // Until the connection closes.
    void run();

private:
    void handle(const tessarin::JsonObject& message);
    void answer(const tessarin::Json& id, const std::string& method, const tessarin::JsonObject& params);
    void openSession(const tessarin::Json& id);
    void loadSession(const tessarin::Json& id, const tessarin::JsonObject& params);
    void prompt(const tessarin::Json& id, const tessarin::JsonObject& params);
    [[nodiscard]] Turn turnFor(const std::string& text);
    void play(const tessarin::Json& id, const Turn& turn);
    void endRunningCall();

    void update(const tessarin::JsonObject& update);
    void reply(const tessarin::Json& id, const tessarin::JsonObject& result);
    void refuse(const tessarin::Json& id, int code, const std::string& message);

    const Role m_role;
    const double m_pace;
    const std::string m_idPrefix; // differs from run to run: what is shown may be kept beside that of an earlier one
    Connection m_connection;
    std::optional<std::string> m_sessionId;
    int m_promptCount = 0;
    bool m_isExhausted = false;
    bool m_isPlaying = false;
    bool m_isCancelled = false;
    tessarin::JsonObject m_runningCall; // its last update; empty for none
};

} // namespace demo
