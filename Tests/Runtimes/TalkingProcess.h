#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace scripted
{

// A folder that goes away with its contents.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] std::string file(const std::string& name) const { return m_path + "/" + name; }
    void write(const std::string& name, const std::string& text) const;
    [[nodiscard]] bool has(const std::string& name) const;
    // Whole contents; empty when there is no such file.
    [[nodiscard]] std::string read(const std::string& name) const;

private:
    std::string m_path;
};

// A child with three pipes, built on the system's calls alone, so that the programs under test are judged by nothing of ours.
// Every wait has a bound; one that runs out, and a child that ends instead of answering, throws with what the child said.
class TalkingProcess
{
public:
    struct Launch {
        std::string executable;
        std::vector<std::string> arguments;
        std::map<std::string, std::string> environment;
        std::string workingDirectory; // empty: that of the test
    };

    explicit TalkingProcess(const Launch& launch);
    // Ends the child when it still runs.
    ~TalkingProcess();
    TalkingProcess(const TalkingProcess&) = delete;
    TalkingProcess& operator=(const TalkingProcess&) = delete;

    // Without reading meanwhile. False when the child has closed its end.
    bool write(const std::string& bytes);
    bool writeLine(const std::string& line) { return write(line + "\n"); }
    void closeInput();
    void closeOutput();
    void closeErrorOutput();

    std::string readLine();
    // Up to `count` bytes; fewer only at the end of the stream.
    [[nodiscard]] std::string readBytes(std::size_t count);
    [[nodiscard]] std::string readToEnd();
    // True when the stream is at its end, false when it stays open and silent for so long.
    [[nodiscard]] bool endsWithin(std::chrono::milliseconds time);
    [[nodiscard]] std::string errorOutput();

    void signal(int number) const;
    // The status as of waitpid.
    int wait();
    int waitForExit(); // requires that it was not a signal
    int waitForSignal(); // requires that it was one
    [[nodiscard]] pid_t processID() const { return m_child; }

    static constexpr std::chrono::seconds bound{ 20 };

private:
    // Appends what comes to `m_output` or `m_error`. False at the end of output, or when nothing came.
    bool readMore(std::chrono::milliseconds time);
    [[noreturn]] void fail(const std::string& reason);

    pid_t m_child = -1;
    std::optional<int> m_status;
    int m_input = -1;
    int m_outputPipe = -1;
    int m_errorPipe = -1;
    std::string m_output;
    std::string m_error;
};

// Waits until `condition` holds; throws with `what` when it does not within the bound.
template <class Condition>
void waitUntil(const char* what, Condition condition);
void pauseBriefly();
[[noreturn]] void throwTimeout(const char* what);

template <class Condition>
void waitUntil(const char* what, Condition condition)
{
    const auto limit = std::chrono::steady_clock::now() + TalkingProcess::bound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit)
            throwTimeout(what);
        pauseBriefly();
    }
}

} // namespace scripted
