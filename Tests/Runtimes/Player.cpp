#include "Player.h"

#include "Messages.h"
#include "Signals.h"

#include <chrono>
#include <cstdio>
#include <unistd.h>

namespace scripted
{

namespace json = boost::json;
using Clock = std::chrono::steady_clock;

Player::Player(json::object script, std::string folder, Record& record)
    : m_script(std::move(script)), m_folder(std::move(folder)), m_record(record), m_streams(record)
{
}

void Player::play(const json::array& steps)
{
    for (const json::value& step : steps) {
        if (!step.is_object())
            fail("a step is no object");
        playStep(step.get_object());
    }
}

void Player::playOut()
{
    const auto limit = Clock::now() + std::chrono::seconds(60);
    while (m_streams.isInputOpen() || (m_hasClosedInput && Clock::now() < limit)) {
        answerAlways(nullptr);
        m_streams.wait(m_hasClosedInput ? 100 : -1);
    }
    answerAlways(nullptr);
}

void Player::exitWith(int status)
{
    m_record.write({ { "exit", status } });
    ::_exit(status);
}

void Player::fail(const std::string& reason)
{
    std::fprintf(stderr, "scripted-runtime: %s\n", reason.c_str());
    m_record.write({ { "failed", reason } });
    exitWith(97);
}

void Player::playStep(const json::object& step)
{
    // The name of a step is its first key; those after it are its settings.
    const std::string name = step.empty() ? std::string() : std::string(step.begin()->key());
    m_placeholders.message = &m_current;
    m_placeholders.kept = &m_kept;
    if (!playProtocolStep(name, step) && !playStreamStep(name, step) && !playProcessStep(name, step))
        fail("unknown step " + json::serialize(step));
}

void Player::expect(const json::value& expectation)
{
    for (;;) {
        answerAlways(&expectation);
        if (takeExpected(expectation))
            return;
        if (!m_streams.isInputOpen()) {
            m_record.write({ { "unmet", expectation } });
            exitWith(0);
        }
        m_streams.wait(-1);
    }
}

bool Player::takeExpected(const json::value& expectation)
{
    auto& inbox = m_streams.inbox();
    for (auto message = inbox.begin(); message != inbox.end(); ++message) {
        if (!meets(*message, expectation))
            continue;
        m_current = std::move(*message);
        inbox.erase(message);
        m_lastRequests[nameOf(m_current)] = m_current;
        if (const auto sessionId = sessionIdOf(m_current))
            m_sessionId = *sessionId;
        return true;
    }
    return false;
}

void Player::answerAlways(const json::value* expectation)
{
    const json::value* always = m_script.if_contains("always");
    const json::object* answers = always ? always->if_object() : nullptr;
    if (!answers)
        return;
    auto& inbox = m_streams.inbox();
    for (std::size_t at = 0; at < inbox.size();) {
        const json::value* content = answers->if_contains(nameOf(inbox[at]));
        if (!content || (expectation && meets(inbox[at], *expectation))) {
            ++at;
            continue;
        }
        const json::object request = std::move(inbox[at]);
        inbox.erase(inbox.begin() + static_cast<std::ptrdiff_t>(at));
        const json::value answered = filled(*content, { 0, &request });
        for (const auto& [kind, value] : answered.as_object()) {
            if (kind == "send")
                m_streams.writeLine(value);
            else
                answer(request, kind == "error" ? "error" : "result", value);
        }
    }
}

void Player::answer(const json::object& request, const char* kind, const json::value& content)
{
    const json::value* hasVersion = m_script.if_contains("jsonrpc");
    m_streams.writeLine(answerTo(request, kind, content, !hasVersion || *hasVersion != json::value(false)));
    if (const json::object* result = content.if_object())
        if (const json::value* sessionId = result->if_contains("sessionId"); sessionId && sessionId->is_string())
            m_sessionId = sessionId->get_string().c_str();
}

void Player::waitForFile(const std::string& name)
{
    const std::string path = m_folder + "/" + name;
    const auto limit = Clock::now() + std::chrono::seconds(60);
    while (::access(path.c_str(), F_OK) != 0) {
        if (Clock::now() > limit)
            fail("no file " + name + " within 60 seconds");
        m_streams.wait(2);
        answerAlways(nullptr);
    }
}

} // namespace scripted
