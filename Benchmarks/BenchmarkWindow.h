#pragma once

#include "BenchmarkProgram.h"
#include "BenchmarkScreen.h"
#include "Models/Workspace.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tessarin
{

// One frame that the program has shown.
struct BenchmarkFrame {
    double shown = 0; // seconds of the clock of secondsNow()
    double processor = 0; // seconds of the main thread, since the frame before
    double gap = 0; // seconds since the frame before
};

// The program with its window on a display and in a home of its own. Its runtime is the benchmark itself (see BenchmarkRuntime.h).
class BenchmarkWindow
{
public:
    enum class Reports { nothing, frames };

    // Stores the tree and a media library with so many pictures, starts the program and waits for its window with its content.
    BenchmarkWindow(std::vector<Workspace> tree, Reports reports, Environment more = {}, std::size_t pictures = 0);

    [[nodiscard]] BenchmarkScreen& screen() { return *m_screen; }
    [[nodiscard]] const BenchmarkDisplay& display() const { return m_display; }
    [[nodiscard]] pid_t process() const { return m_program->process(); }
    // Where the text of the composer begins when it has one line, and how far it goes.
    [[nodiscard]] ScreenArea composerLine() const;

    // Types the prompt and sends it.
    void send(const std::string& prompt);
    // The frames that were shown in that time. Requires: frames are reported.
    [[nodiscard]] std::vector<BenchmarkFrame> framesBetween(double begin, double end) const;

private:
    void store(std::vector<Workspace>&& tree, std::size_t pictures) const;

    BenchmarkHome m_home;
    BenchmarkDisplay m_display;
    std::unique_ptr<BenchmarkProgram> m_program;
    std::unique_ptr<BenchmarkScreen> m_screen;
};

// A project at a path that exists.
[[nodiscard]] Workspace benchmarkProject();
void waitSeconds(double seconds);

// What a process has allocated, in the middle of what is seen in the next two seconds: what is laid out and thrown away makes it swing.
constexpr double memoryLook = 2;
[[nodiscard]] double settledMegabytesOf(pid_t process);

// What is read out of all frames.
[[nodiscard]] std::vector<double> processorOf(const std::vector<BenchmarkFrame>& frames);
[[nodiscard]] double meanOf(const std::vector<double>& values); // Requires: there are values.
[[nodiscard]] double longestGapOf(const std::vector<BenchmarkFrame>& frames);

} // namespace tessarin
