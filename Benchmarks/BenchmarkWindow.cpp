#include "BenchmarkWindow.h"

#include "App/AppModel.h"
#include "BenchmarkLibrary.h"
#include "BenchmarkSupport.h"
#include "Models/WorkspaceStore.h"
#include "Services/Locators.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <thread>

namespace tessarin
{

namespace
{

// Of the look: where the composer stands.
constexpr int sidebarWidth = 260;
constexpr int columnInset = 18;
constexpr int composerHeight = 86;
constexpr int columnMaximum = 820;

std::string framesPath(const BenchmarkHome& home)
{
    return home.path() + "/frames";
}

} // namespace

BenchmarkWindow::BenchmarkWindow(std::vector<Workspace> tree, Reports reports, Environment more, std::size_t pictures)
{
    store(std::move(tree), pictures);
    Environment environment = m_home.environment(m_display.name());
    environment.merge(std::move(more));
    if (reports == Reports::frames) {
        environment["TESSARIN_REPORT_FRAMES"] = framesPath(m_home);
    }
    m_program = std::make_unique<BenchmarkProgram>(std::vector<std::string>{ BENCHMARK_PROGRAM }, environment);
    static_cast<void>(m_program->secondsToLine("first content"));
    m_screen = std::make_unique<BenchmarkScreen>(m_display.name());
    const ScreenArea line = composerLine();
    const auto placeholder = m_screen->pixels(line);
    if (std::adjacent_find(placeholder.begin(), placeholder.end(), std::not_equal_to<>()) == placeholder.end()) {
        giveUp("the window shows no composer");
    }
    m_screen->click(line.x + line.width / 2, line.y + line.height / 2);
}

void BenchmarkWindow::store(std::vector<Workspace>&& tree, std::size_t pictures) const
{
    Preferences preferences({ m_home.path() + "/.config/tessarin", m_home.path() + "/.local/share/tessarin" });
    if (pictures > 0) {
        storeLibrary(preferences.locations(), pictures);
    }
    preferences.setText(GrokLocator::customPathKey, std::filesystem::read_symlink("/proc/self/exe").string());
    preferences.setText(AppModel::routingModeKey, "grok");
    TreeChanges changes;
    WorkspaceStore(preferences).save(tree, changes);
    preferences.flush();
}

ScreenArea BenchmarkWindow::composerLine() const
{
    const int pane = m_screen->width() - sidebarWidth;
    const int width = std::min(columnMaximum, pane - 2 * columnInset);
    const int x = sidebarWidth + (pane - width) / 2;
    return { x + 12, m_screen->height() - columnInset - composerHeight + 8, width - 24, 28 };
}

void BenchmarkWindow::send(const std::string& prompt)
{
    m_screen->type(prompt);
    m_screen->press("Return");
}

std::vector<BenchmarkFrame> BenchmarkWindow::framesBetween(double begin, double end) const
{
    std::ifstream file(framesPath(m_home));
    std::vector<BenchmarkFrame> frames;
    double shownBefore = 0;
    double processorBefore = 0;
    for (double shown = 0, processor = 0; file >> shown >> processor;) {
        if (shown > begin && shown <= end && shownBefore > 0) {
            frames.push_back({ shown, processor - processorBefore, shown - shownBefore });
        }
        shownBefore = shown;
        processorBefore = processor;
    }
    if (frames.empty()) {
        giveUp("no frame was shown");
    }
    return frames;
}

Workspace benchmarkProject()
{
    return Workspace::make(std::filesystem::temp_directory_path().string());
}

void waitSeconds(double seconds)
{
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

double settledMegabytesOf(pid_t process)
{
    constexpr int samples = 40;
    std::vector<double> megabytes;
    for (int i = 0; i < samples; ++i) {
        megabytes.push_back(megabytesAllocatedBy(process));
        waitSeconds(memoryLook / samples);
    }
    return median(megabytes);
}

std::vector<double> processorOf(const std::vector<BenchmarkFrame>& frames)
{
    std::vector<double> result;
    std::transform(frames.begin(), frames.end(), std::back_inserter(result), [](const auto& frame) { return frame.processor; });
    return result;
}

double meanOf(const std::vector<double>& values)
{
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

double longestGapOf(const std::vector<BenchmarkFrame>& frames)
{
    return std::max_element(frames.begin(), frames.end(), [](const auto& a, const auto& b) { return a.gap < b.gap; })->gap;
}

} // namespace tessarin
