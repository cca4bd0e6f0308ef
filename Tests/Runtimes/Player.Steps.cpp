#include "Player.h"

#include "Base64.h"
#include "Messages.h"
#include "Signals.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace scripted
{

namespace json = boost::json;

static std::string asString(const json::value& value)
{
    const auto* text = value.if_string();
    return text ? std::string(text->data(), text->size()) : std::string();
}

static int asInteger(const json::value& value)
{
    const auto* number = value.if_int64();
    return number ? static_cast<int>(*number) : 0;
}

bool Player::playProtocolStep(const std::string& name, const json::object& step)
{
    const json::value value
        = name == "repeat" ? json::value(nullptr) : filled(step.empty() ? json::value() : step.begin()->value(), m_placeholders);
    if (name == "expect") {
        expect(value);
        if (const json::value* keptName = step.if_contains("as"))
            m_kept[asString(*keptName)] = m_current;
    } else if (name == "reply" || name == "replyError") {
        const json::value* to = step.if_contains("to");
        if (to && !m_lastRequests.contains(asString(*to)))
            fail("nothing received to answer: " + json::serialize(step));
        answer(to ? m_lastRequests[asString(*to)] : m_current, name == "reply" ? "result" : "error", value);
    } else if (name == "update") {
        const json::value* sessionId = step.if_contains("sessionId");
        m_streams.writeLine({ { "jsonrpc", "2.0" }, { "method", "session/update" },
            { "params", { { "sessionId", sessionId ? asString(*sessionId) : m_sessionId }, { "update", value } } } });
    } else if (name == "send") {
        m_streams.writeLine(value);
    } else if (name == "repeat") {
        repeat(step);
    } else {
        return false;
    }
    return true;
}

bool Player::playStreamStep(const std::string& name, const json::object& step)
{
    const json::value& value = step.begin()->value();
    if (name == "raw") {
        m_streams.write(STDOUT_FILENO, filled(asString(value), m_placeholders));
    } else if (name == "rawBase64") {
        const auto bytes = base64Decoded(asString(value));
        if (!bytes)
            fail("no Base64: " + json::serialize(step));
        m_streams.write(STDOUT_FILENO, *bytes);
    } else if (name == "fill") {
        const json::value* with = step.if_contains("with");
        fill(static_cast<std::size_t>(asInteger(value)), with ? asString(*with) : "x");
    } else if (name == "stderr") {
        m_streams.write(STDERR_FILENO, filled(asString(value), m_placeholders));
    } else if (name == "stderrBase64") {
        const auto bytes = base64Decoded(asString(value));
        if (!bytes)
            fail("no Base64: " + json::serialize(step));
        m_streams.write(STDERR_FILENO, *bytes);
    } else if (name == "closeStdout") {
        m_streams.close(STDOUT_FILENO);
    } else if (name == "closeStderr") {
        m_streams.close(STDERR_FILENO);
    } else if (name == "closeStdin") {
        m_hasClosedInput = true;
        m_streams.close(STDIN_FILENO);
    } else {
        return false;
    }
    return true;
}

bool Player::playProcessStep(const std::string& name, const json::object& step)
{
    const json::value& value = step.begin()->value();
    if (name == "waitForFile") {
        waitForFile(filled(asString(value), m_placeholders));
    } else if (name == "touch") {
        const std::string path = m_folder + "/" + filled(asString(value), m_placeholders);
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (file < 0)
            fail(path + ": " + std::strerror(errno));
        ::close(file);
    } else if (name == "pause") {
        std::this_thread::sleep_for(std::chrono::milliseconds(asInteger(value)));
    } else if (name == "ignoreTerm") {
        ignoreTerm();
    } else if (name == "exitOnTerm") {
        exitOnTerm(asInteger(value));
    } else if (name == "grandchild") {
        startGrandchild(filled(asString(value), m_placeholders));
    } else if (name == "exit") {
        exitWith(asInteger(value));
    } else if (name == "signal") {
        m_record.write({ { "signal", asInteger(value) } });
        dieBySignal(asInteger(value));
    } else {
        return false;
    }
    return true;
}

void Player::repeat(const json::object& step)
{
    const json::value* steps = step.if_contains("steps");
    if (!steps || !steps->is_array())
        fail("a repeat without steps");
    const Placeholders outer = m_placeholders;
    const int rounds = asInteger(step.at("repeat"));
    for (int round = 0; round < rounds; ++round) {
        m_placeholders.round = static_cast<std::size_t>(round);
        play(steps->get_array());
    }
    m_placeholders = outer;
}

void Player::fill(std::size_t byteCount, const std::string& text)
{
    if (text.empty())
        fail("a fill with nothing");
    std::string piece;
    while (piece.size() < std::min<std::size_t>(byteCount, 65536))
        piece += text;
    // Whole texts in every piece, so that the pattern goes on across pieces.
    for (std::size_t left = byteCount; left > 0;) {
        const std::size_t count = std::min(left, piece.size());
        m_streams.write(STDOUT_FILENO, std::string_view(piece).substr(0, count));
        left -= count;
    }
}

void Player::startGrandchild(const std::string& name)
{
    const std::string path = m_folder + "/" + name;
    const pid_t child = ::fork();
    if (child < 0)
        fail(std::string("fork: ") + std::strerror(errno));
    if (child > 0)
        return;
    restoreTerm();
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (::access(path.c_str(), F_OK) != 0 && std::chrono::steady_clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    ::_exit(0);
}

} // namespace scripted
