#include "Services/ACPClient.h"

#include "Services/AgentFiles.h"

#include <utility>

// The tools that an ACPClient offers its runtime: files of the machine and terminals.

namespace tessarin
{

namespace
{

Result<std::string, ACPClientError> terminalID(const JsonObject& params)
{
    const auto id = textAt(params, "terminalId");
    if (!id)
        return Failure{ ACPClientError{ ACPClientError::Kind::invalidRequest, "Terminal request is missing terminalId" } };
    return std::string(*id);
}

// The empty result of what succeeds without one.
Result<JsonObject, ACPClientError> emptyResult(const Result<void, ACPClientError>& result)
{
    if (!result)
        return Failure{ result.error() };
    return JsonObject();
}

} // namespace

bool ACPClient::handleToolRequest(std::int64_t id, std::string_view method, const JsonObject& params)
{
    if (method == "fs/read_text_file")
        answer(id, AgentFiles::readTextFile(params));
    else if (method == "fs/write_text_file")
        answer(id, AgentFiles::writeTextFile(params, m_configuration.workspacePath));
    else if (method == "terminal/create")
        answer(id, createTerminal(params));
    else if (method.starts_with("terminal/"))
        return handleTerminalRequest(id, method, params);
    else
        return false;
    return true;
}

bool ACPClient::handleTerminalRequest(std::int64_t id, std::string_view method, const JsonObject& params)
{
    using Operation = Result<JsonObject, ACPClientError> (ACPClient::*)(const std::string&);
    static const std::map<std::string_view, Operation> operations{
        { "terminal/output", &ACPClient::terminalOutput },
        { "terminal/kill", &ACPClient::killTerminal },
        { "terminal/release", &ACPClient::releaseTerminal },
    };
    const auto operation = operations.find(method);
    if (operation == operations.end() && method != "terminal/wait_for_exit")
        return false;
    const auto terminal = terminalID(params);
    if (!terminal)
        answer(id, Failure{ terminal.error() });
    else if (operation != operations.end())
        answer(id, (this->*operation->second)(terminal.value()));
    else
        waitForTerminal(id, terminal.value());
    return true;
}

Result<JsonObject, ACPClientError> ACPClient::createTerminal(const JsonObject& params)
{
    auto terminal = m_terminals.create(params);
    if (!terminal)
        return Failure{ terminal.error() };
    return JsonObject{ { "terminalId", std::move(terminal).value() } };
}

Result<JsonObject, ACPClientError> ACPClient::terminalOutput(const std::string& terminal)
{
    return m_terminals.snapshot(terminal);
}

Result<JsonObject, ACPClientError> ACPClient::killTerminal(const std::string& terminal)
{
    return emptyResult(m_terminals.kill(terminal));
}

Result<JsonObject, ACPClientError> ACPClient::releaseTerminal(const std::string& terminal)
{
    return emptyResult(m_terminals.release(terminal));
}

// Answered when the command has ended; the queue goes on meanwhile.
void ACPClient::waitForTerminal(std::int64_t id, const std::string& terminal)
{
    const auto asked = m_terminals.waitForExit(terminal, [weak = weak_from_this(), id](const JsonObject& exitStatus) {
        if (const auto client = weak.lock())
            client->terminalEnded(id, exitStatus);
    });
    if (!asked)
        answer(id, Failure{ asked.error() });
}

void ACPClient::terminalEnded(std::int64_t id, JsonObject exitStatus)
{
    m_queue->post([weak = weak_from_this(), id, exitStatus = std::move(exitStatus)] {
        const auto client = weak.lock();
        if (!client)
            return;
        client->m_queue->assertCurrent();
        client->answer(id, exitStatus);
    });
}

void ACPClient::answer(std::int64_t id, Result<JsonObject, ACPClientError> result)
{
    if (result)
        m_child->write(JsonRpc::response(id, std::move(result).value()));
    else
        m_child->write(JsonRpc::error(id, result.error().description()));
}

} // namespace tessarin
