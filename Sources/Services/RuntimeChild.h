#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/SerialQueue.h"
#include "Services/Completion.h"
#include "Services/EventOutbox.h"
#include "Services/LineReader.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tessarin
{

class AgentClient;
class MainThread;

// The child of a client: a program that talks in lines of JSON over its standard streams. It cuts what the child writes into lines, keeps
// its error output and hands that on to onLog, and holds reading back while the main thread is far behind; what a line means is the
// client's business. It also carries the client's events to the main thread, in order. Owned by the client; where nothing else is said,
// on the client's queue only. `stop` comes before the last reference goes, or the child is left running.
class RuntimeChild final : public std::enable_shared_from_this<RuntimeChild>
{
public:
    // What the client hears, on its queue. Whatever it adds to the batch in these calls is posted when they return.
    class Listener
    {
    public:
        virtual void handleLine(std::string_view line) = 0; // not empty; lives as long as the call
        // A message did not reach the child: its input is closed, or there is no child any more. Comes within `write`, or later.
        virtual void writeFailed(const SystemError& error) = 0;
        // The child ended by itself, after all its lines. May launch it again.
        virtual void childEnded(ChildEnd end) = 0;

    protected:
        ~Listener() = default;
    };

    // `name` is the runtime's, for people.
    RuntimeChild(std::string name, MainThread& mainThread, std::shared_ptr<SerialQueue> queue);

    // Main thread only, once, before the launch: who is told. `client` is an AgentClient and a Listener.
    template <class Client>
    void open(const std::shared_ptr<Client>& client)
    {
        m_listener = client;
        openGate(client);
    }
    // Main thread only: the client was told to stop. Only the end of the child is nobody's business from now on.
    void close();

    // A failure is the platform's text. Begins with no error output and no line begun.
    [[nodiscard]] Result<void, std::string> launch(const ChildLaunch& launch);
    // Writes the message as one line. A value without JSON text is dropped.
    void write(const JsonObject& message);
    // Closes the streams and asks the child to end, without waiting; nothing more is heard of it. Does nothing without a child.
    void stop();
    // Only asks it to end.
    void terminate();

    // From a launch to the end of the child or `stop`.
    [[nodiscard]] bool isConnected() const;
    // All of it since the launch.
    [[nodiscard]] const std::string& errorOutput() const;
    // The child's last words: its error output without white space around it, or "NAME exited with status N."
    [[nodiscard]] std::string lastWords(ChildEnd end) const;

    // What goes to the main thread with the next `flush`.
    [[nodiscard]] EventBatch& batch();
    void notify(EventBatch::Notice notice);
    // onUnexpectedTermination, unless the client has been closed by the time it would be called.
    void reportTermination(std::string text);
    template <class T>
    void complete(const Completion<T>& done, Result<T, AgentError> result)
    {
        batch().add([completion = done.take(), result = std::move(result)] {
            if (completion)
                completion(result);
        });
    }
    // Ends each piece of work that the client puts on its queue.
    void flush();

private:
    // Plays a child without a process; for fuzz targets.
    friend struct RuntimeChildPeer;

    void openGate(std::weak_ptr<AgentClient> client); // main thread
    [[nodiscard]] ChildProcess::Callbacks callbacks();
    void consume(std::string_view chunk);
    void consumeErrorOutput(std::string_view chunk);
    void inputFailed(const std::string& reason);
    void processEnded(ChildEnd end);
    void resumeReading(); // main thread
    void continueReading();

    // Constant once the client has been started.
    const std::string m_name;
    const std::shared_ptr<SerialQueue> m_queue;
    const std::shared_ptr<EventGate> m_gate;
    std::weak_ptr<Listener> m_listener;

    // On the queue only.
    EventOutbox m_outbox GUARDED_BY(*m_queue);
    std::shared_ptr<ChildProcess> m_process GUARDED_BY(*m_queue); // from a launch to `stop`
    std::function<void(std::string line)> m_input GUARDED_BY(*m_queue); // of the process, as long
    bool m_isConnected GUARDED_BY(*m_queue) = false;
    std::optional<SystemError> m_inputFailure GUARDED_BY(*m_queue); // why nothing can be written
    LineReader m_lines GUARDED_BY(*m_queue);
    std::string m_errorOutput GUARDED_BY(*m_queue);
};

} // namespace tessarin
