#include "Platform/ChildProcess.h"

#include "Platform/AsioQueue.h"
#include "Platform/ChildSpawn.h"
#include "Platform/ChildSystem.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <cstddef>
#include <deque>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tessarin
{

namespace
{

using Stream = boost::asio::posix::stream_descriptor;

constexpr std::size_t chunkByteLimit = 256 * 1024;

// One buffer a thread serves all children: a chunk lives only as long as the callback that gets it.
char* chunkBuffer()
{
    thread_local std::vector<char> buffer(chunkByteLimit);
    return buffer.data();
}

// Returns what read() and write() return; a signal that came in between is no failure.
ssize_t readSome(Stream& stream, std::size_t byteLimit)
{
    ssize_t count = 0;
    do {
        count = ::read(stream.native_handle(), chunkBuffer(), byteLimit);
    } while (count < 0 && errno == EINTR);
    return count;
}

ssize_t writeSome(Stream& stream, std::string_view bytes)
{
    ssize_t count = 0;
    do {
        count = ::write(stream.native_handle(), bytes.data(), bytes.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

// Nobody can do anything about a pipe that does not close.
void closeQuietly(Stream& stream)
{
    boost::system::error_code ignored;
    stream.close(ignored);
}

} // namespace

// Everything about one child. Kept alive by what waits for the child's end, so that a dropped child is collected too.
struct ChildProcess::Implementation : std::enable_shared_from_this<Implementation> {
    // One stream that the child writes and we read. Reads happen in our own steps, never in Asio: a chunk that Asio had read
    // and not yet handed over would be overtaken by the end of the child.
    struct Reader {
        Stream stream;
        std::function<void(std::string_view)> onChunk;
        bool isAwaited = false;
        bool isPaused = false;
    };

    // Takes our side of the streams over, unless it sets the error.
    Implementation(std::shared_ptr<SerialQueue> serialQueue, Callbacks callbacks, ChildStreams& streams, boost::system::error_code& error);

    // In the order in which they run.
    void begin() REQUIRES(*queue);
    [[nodiscard]] bool isToBeRead(const Reader& reader) const REQUIRES(*queue);
    void awaitChunk(Reader& reader) REQUIRES(*queue);
    void readChunk(Reader& reader) REQUIRES(*queue);
    void deliver(const Reader& reader, std::string_view chunk) REQUIRES(*queue);
    void writeQueued() REQUIRES(*queue);
    void awaitInput() REQUIRES(*queue);
    [[nodiscard]] bool isInputBehind() const REQUIRES(*queue);
    void failInput(int error) REQUIRES(*queue);
    void childEnded() REQUIRES(*queue);
    [[nodiscard]] ChildEnd collect() const REQUIRES(*queue);
    void readWhatIsLeft(Reader& reader) REQUIRES(*queue);
    void closeInputNow() REQUIRES(*queue);
    void closeStreams() REQUIRES(*queue);
    void release() REQUIRES(*queue);

    // Runs `step` later on the queue.
    void post(void (Implementation::*step)());

    // Constant after launch. The queue is kept, so that nothing posted to it is dropped.
    const std::shared_ptr<SerialQueue> queue;
    pid_t processID = 0;

    // Set by whoever drops the child, on any thread.
    std::atomic<bool> isDropped = false;

    // On the queue only.
    bool isRunning GUARDED_BY(*queue) = true;
    Reader output GUARDED_BY(*queue);
    Reader errorOutput GUARDED_BY(*queue);
    std::function<void(const std::string&)> onInputFailed GUARDED_BY(*queue);
    std::function<void(ChildEnd)> onEnd GUARDED_BY(*queue);
    Stream input GUARDED_BY(*queue);
    std::deque<std::string> unwritten GUARDED_BY(*queue);
    std::size_t unwrittenBytes GUARDED_BY(*queue) = 0; // all of them, also what is written of the first
    std::size_t writtenOfFirst GUARDED_BY(*queue) = 0;
    bool isInputAwaited GUARDED_BY(*queue) = false;
    bool closesInputWhenWritten GUARDED_BY(*queue) = false;
};

ChildProcess::Implementation::Implementation(
    std::shared_ptr<SerialQueue> serialQueue, Callbacks callbacks, ChildStreams& streams, boost::system::error_code& error)
    : queue(std::move(serialQueue))
    , output{ Stream(*queue->implementation()->executor), std::move(callbacks.onOutput) }
    , errorOutput{ Stream(*queue->implementation()->executor), std::move(callbacks.onErrorOutput) }
    , onInputFailed(std::move(callbacks.onInputFailed))
    , onEnd(std::move(callbacks.onEnd))
    , input(*queue->implementation()->executor)
{
    const auto adopt = [&error](Stream& stream, Descriptor& descriptor) {
        if (descriptor.isOpen() && !error)
            stream.assign(descriptor.get(), error);
        if (!error)
            descriptor.release();
    };
    adopt(input, streams.ours.input);
    adopt(output.stream, streams.ours.output);
    adopt(errorOutput.stream, streams.ours.errorOutput);
}

void ChildProcess::Implementation::post(void (Implementation::*step)())
{
    queue->post([self = shared_from_this(), step] {
        self->queue->assertCurrent();
        (*self.*step)();
    });
}

void ChildProcess::Implementation::begin()
{
    callWhenEnded(processID, queue, [self = shared_from_this()] {
        self->queue->assertCurrent();
        self->childEnded();
    });
    awaitChunk(output);
    awaitChunk(errorOutput);
}

bool ChildProcess::Implementation::isToBeRead(const Reader& reader) const
{
    return reader.stream.is_open() && !reader.isPaused && !(&reader == &output && isInputBehind());
}

void ChildProcess::Implementation::awaitChunk(Reader& reader)
{
    if (!isToBeRead(reader) || reader.isAwaited)
        return;
    reader.isAwaited = true;
    reader.stream.async_wait(Stream::wait_read, [self = shared_from_this(), &reader](const boost::system::error_code&) {
        const QueueScope scope(*self->queue->implementation());
        self->queue->assertCurrent();
        reader.isAwaited = false;
        self->readChunk(reader);
    });
}

void ChildProcess::Implementation::readChunk(Reader& reader)
{
    if (!isToBeRead(reader))
        return;
    const ssize_t count = readSome(reader.stream, chunkByteLimit);
    if (count > 0)
        deliver(reader, { chunkBuffer(), static_cast<std::size_t>(count) });
    else if (count == 0 || errno != EAGAIN)
        closeQuietly(reader.stream);
    awaitChunk(reader);
}

void ChildProcess::Implementation::deliver(const Reader& reader, std::string_view chunk)
{
    if (!isDropped && reader.onChunk)
        reader.onChunk(chunk);
}

void ChildProcess::Implementation::writeQueued()
{
    while (!unwritten.empty()) {
        const std::string_view first = unwritten.front();
        const ssize_t count = writeSome(input, first.substr(writtenOfFirst));
        if (count < 0 && errno == EAGAIN)
            return awaitInput();
        if (count < 0)
            return failInput(errno);
        writtenOfFirst += static_cast<std::size_t>(count);
        if (writtenOfFirst < first.size())
            return awaitInput();
        unwrittenBytes -= first.size();
        unwritten.pop_front();
        writtenOfFirst = 0;
    }
    if (closesInputWhenWritten)
        closeInputNow();
}

void ChildProcess::Implementation::awaitInput()
{
    isInputAwaited = true;
    input.async_wait(Stream::wait_write, [self = shared_from_this()](const boost::system::error_code&) {
        const QueueScope scope(*self->queue->implementation());
        self->queue->assertCurrent();
        self->isInputAwaited = false;
        if (self->input.is_open())
            self->writeQueued();
        self->awaitChunk(self->output);
    });
}

// One long message is no reason to stop reading: the child may have to write before it takes the rest of it.
bool ChildProcess::Implementation::isInputBehind() const
{
    return !unwritten.empty() && unwrittenBytes - unwritten.front().size() > unwrittenLimit;
}

void ChildProcess::Implementation::failInput(int error)
{
    closeInputNow();
    const auto report = std::exchange(onInputFailed, nullptr);
    if (!isDropped && report)
        report(std::generic_category().message(error));
}

void ChildProcess::Implementation::childEnded()
{
    const ChildEnd end = collect();
    isRunning = false;
    readWhatIsLeft(output);
    readWhatIsLeft(errorOutput);
    closeStreams();
    const auto report = std::exchange(onEnd, nullptr);
    // Whatever the callbacks hold goes now: it may hold the child.
    release();
    if (!isDropped && report)
        report(end);
}

ChildEnd ChildProcess::Implementation::collect() const
{
    int status = 0;
    pid_t collected = 0;
    do {
        collected = waitpid(processID, &status, 0);
    } while (collected < 0 && errno == EINTR);
    // Collected by somebody else, who shouldn't have: how it ended is lost, and that is no success.
    if (collected != processID)
        return { .status = 1 };
    if (WIFSIGNALED(status))
        return { .status = WTERMSIG(status), .wasSignalled = true };
    return { .status = WEXITSTATUS(status) };
}

void ChildProcess::Implementation::readWhatIsLeft(Reader& reader)
{
    // All that the child wrote is in the pipe by now. What a grandchild adds from here on is not waited for.
    int left = 0;
    if (!reader.stream.is_open() || ioctl(reader.stream.native_handle(), FIONREAD, &left) != 0)
        return;
    while (left > 0 && reader.stream.is_open()) {
        const std::size_t wanted = std::min(static_cast<std::size_t>(left), chunkByteLimit);
        const ssize_t count = readSome(reader.stream, wanted);
        if (count <= 0)
            return;
        left -= static_cast<int>(count);
        deliver(reader, { chunkBuffer(), static_cast<std::size_t>(count) });
    }
}

void ChildProcess::Implementation::closeInputNow()
{
    closeQuietly(input);
    unwritten.clear();
    unwrittenBytes = 0;
    writtenOfFirst = 0;
}

void ChildProcess::Implementation::closeStreams()
{
    closeQuietly(output.stream);
    closeQuietly(errorOutput.stream);
    closeInputNow();
}

void ChildProcess::Implementation::release()
{
    closeStreams();
    output.onChunk = nullptr;
    errorOutput.onChunk = nullptr;
    onInputFailed = nullptr;
    onEnd = nullptr;
}

Result<std::shared_ptr<ChildProcess>, std::string> ChildProcess::launch(
    const ChildLaunch& launch, std::shared_ptr<SerialQueue> queue, Callbacks callbacks)
{
    auto streams = openChildStreams(launch);
    if (!streams)
        return Failure{ streams.error() };
    ChildStreams opened = std::move(streams).value();
    boost::system::error_code error;
    const auto implementation = std::make_shared<Implementation>(std::move(queue), std::move(callbacks), opened, error);
    if (error)
        return Failure{ error.message() };
    const auto child = spawnChild(launch, opened);
    if (!child)
        return Failure{ child.error() };
    implementation->processID = child.value();
    implementation->post(&Implementation::begin);
    return std::shared_ptr<ChildProcess>(new ChildProcess(implementation));
}

ChildProcess::ChildProcess(std::shared_ptr<Implementation> implementation) : m_implementation(std::move(implementation)) { }

ChildProcess::~ChildProcess()
{
    m_implementation->isDropped = true;
    m_implementation->post(&Implementation::release);
}

void ChildProcess::write(std::string bytes)
{
    Implementation& child = *m_implementation;
    child.queue->assertCurrent();
    if (bytes.empty() || !child.input.is_open() || child.closesInputWhenWritten)
        return;
    child.unwrittenBytes += bytes.size();
    child.unwritten.push_back(std::move(bytes));
    if (!child.isInputAwaited)
        child.writeQueued();
}

void ChildProcess::closeInput()
{
    Implementation& child = *m_implementation;
    child.queue->assertCurrent();
    child.closesInputWhenWritten = true;
    if (child.unwritten.empty())
        child.closeInputNow();
}

void ChildProcess::closeStreams()
{
    m_implementation->queue->assertCurrent();
    m_implementation->closeStreams();
}

void ChildProcess::terminate()
{
    m_implementation->queue->assertCurrent();
    // The number is the child's as long as nobody has collected it, and only a step of this queue does.
    if (m_implementation->isRunning)
        ::kill(m_implementation->processID, SIGTERM);
}

void ChildProcess::pauseOutput()
{
    m_implementation->queue->assertCurrent();
    m_implementation->output.isPaused = true;
}

void ChildProcess::resumeOutput()
{
    Implementation& child = *m_implementation;
    child.queue->assertCurrent();
    child.output.isPaused = false;
    child.awaitChunk(child.output);
}

bool ChildProcess::isRunning() const
{
    m_implementation->queue->assertCurrent();
    return m_implementation->isRunning;
}

int ChildProcess::processID() const
{
    return m_implementation->processID;
}

} // namespace tessarin
