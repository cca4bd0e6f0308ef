#include "Services/RuntimeChild.h"

#include "Platform/Text.h"
#include "Services/AgentClient.h"
#include "Services/JsonRpc.h"

#include <system_error>

namespace tessarin
{

namespace
{

// What the system says of a pipe that nobody reads.
SystemError brokenPipe()
{
    return { std::make_error_code(std::errc::broken_pipe).message() };
}

} // namespace

RuntimeChild::RuntimeChild(std::string name, MainThread& mainThread, std::shared_ptr<SerialQueue> queue)
    : m_name(std::move(name)), m_queue(std::move(queue)), m_gate(std::make_shared<EventGate>()), m_outbox(mainThread, m_gate)
{
}

void RuntimeChild::openGate(std::weak_ptr<AgentClient> client)
{
    m_gate->open(std::move(client), [weak = weak_from_this()] {
        if (const auto child = weak.lock())
            child->resumeReading();
    });
}

void RuntimeChild::close()
{
    m_gate->close();
}

Result<void, std::string> RuntimeChild::launch(const ChildLaunch& launch)
{
    m_queue->assertCurrent();
    m_errorOutput.clear();
    m_lines.reset();
    auto launched = ChildProcess::launch(launch, m_queue, callbacks());
    if (!launched)
        return Failure{ launched.error() };
    m_process = std::move(launched).value();
    m_input = [process = m_process](std::string line) { process->write(std::move(line)); };
    m_isConnected = true;
    m_inputFailure.reset();
    return {};
}

ChildProcess::Callbacks RuntimeChild::callbacks()
{
    ChildProcess::Callbacks callbacks;
    callbacks.onOutput = [weak = weak_from_this()](std::string_view chunk) {
        if (const auto child = weak.lock())
            child->consume(chunk);
    };
    callbacks.onErrorOutput = [weak = weak_from_this()](std::string_view chunk) {
        if (const auto child = weak.lock())
            child->consumeErrorOutput(chunk);
    };
    callbacks.onInputFailed = [weak = weak_from_this()](const std::string& reason) {
        if (const auto child = weak.lock())
            child->inputFailed(reason);
    };
    callbacks.onEnd = [weak = weak_from_this()](ChildEnd end) {
        if (const auto child = weak.lock())
            child->processEnded(end);
    };
    return callbacks;
}

void RuntimeChild::consume(std::string_view chunk)
{
    m_queue->assertCurrent();
    const auto listener = m_listener.lock();
    if (!listener)
        return;
    m_outbox.expect(chunk.size());
    m_lines.read(chunk, [&listener](std::string_view line) { listener->handleLine(line); });
    flush();
}

void RuntimeChild::consumeErrorOutput(std::string_view chunk)
{
    m_queue->assertCurrent();
    // A chunk that cuts a character in two is lost whole: diagnostics are not worth a decoder with a memory.
    if (isValidUtf8(chunk)) {
        m_errorOutput.append(chunk);
        notify([text = std::string(chunk)](AgentClient& client) {
            if (client.onLog)
                client.onLog(text);
        });
    }
    flush();
}

void RuntimeChild::inputFailed(const std::string& reason)
{
    m_queue->assertCurrent();
    m_inputFailure = SystemError{ reason };
    if (const auto listener = m_listener.lock())
        listener->writeFailed(SystemError{ reason });
    flush();
}

void RuntimeChild::processEnded(ChildEnd end)
{
    m_queue->assertCurrent();
    m_isConnected = false;
    m_inputFailure = brokenPipe();
    if (const auto listener = m_listener.lock())
        listener->childEnded(end);
    flush();
}

void RuntimeChild::resumeReading()
{
    m_queue->post([weak = weak_from_this()] {
        if (const auto child = weak.lock())
            child->continueReading();
    });
}

void RuntimeChild::continueReading()
{
    m_queue->assertCurrent();
    // What was read in the meantime may have filled the gate again.
    if (m_process && !m_gate->isFull())
        m_process->resumeOutput();
}

void RuntimeChild::write(const JsonObject& message)
{
    m_queue->assertCurrent();
    auto line = JsonRpc::line(message);
    if (!line)
        return;
    if (m_input && !m_inputFailure)
        return m_input(std::move(*line));
    const auto listener = m_listener.lock();
    if (m_inputFailure && listener)
        listener->writeFailed(SystemError(*m_inputFailure));
}

void RuntimeChild::stop()
{
    m_queue->assertCurrent();
    m_input = nullptr;
    if (!m_process)
        return;
    m_isConnected = false;
    m_inputFailure = brokenPipe();
    m_process->closeStreams();
    m_process->terminate();
    m_process.reset();
}

void RuntimeChild::terminate()
{
    m_queue->assertCurrent();
    if (m_process)
        m_process->terminate();
}

bool RuntimeChild::isConnected() const
{
    m_queue->assertCurrent();
    return m_isConnected;
}

const std::string& RuntimeChild::errorOutput() const
{
    m_queue->assertCurrent();
    return m_errorOutput;
}

std::string RuntimeChild::lastWords(ChildEnd end) const
{
    m_queue->assertCurrent();
    const std::string_view text = trimmed(m_errorOutput);
    return text.empty() ? m_name + " exited with status " + std::to_string(end.status) + "." : std::string(text);
}

EventBatch& RuntimeChild::batch()
{
    m_queue->assertCurrent();
    return m_outbox.batch();
}

void RuntimeChild::notify(EventBatch::Notice notice)
{
    batch().add(std::move(notice));
}

void RuntimeChild::reportTermination(std::string text)
{
    notify([text = std::move(text), gate = m_gate](AgentClient& client) {
        if (gate->isOpen() && client.onUnexpectedTermination)
            client.onUnexpectedTermination(text);
    });
}

void RuntimeChild::flush()
{
    m_queue->assertCurrent();
    if (m_outbox.flush() && m_process)
        m_process->pauseOutput();
}

} // namespace tessarin
