// From the press of a key to the character on the screen, in the composer while an answer streams, against an empty text field of the same
// toolkit in a window of its own: at most 1.5 times, by the medians. The keys are real ones of the X server, and the character counts as
// seen when the server has reported that something was drawn where it stands and the pixels there say so: more columns than a caret has.
// The two take turns, each on a display of its own and at rest while the other one is measured: a round is a turn of the runtime, which
// streams Markdown at 1,000 chunks a second, with presses at uneven times, and as many presses in the field. How long all but the slowest
// twentieth take is told besides.
//
//   TypingBenchmark [--rounds=6] [--presses=24] [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkHistory.h"
#include "BenchmarkRuntime.h"
#include "BenchmarkSupport.h"
#include "BenchmarkWindow.h"

#include <cstdio>
#include <random>

namespace tessarin
{
namespace
{

constexpr double bar = 1.5;
constexpr int columnsOfACharacter = 5;
constexpr std::size_t pressesOfALine = 12;
constexpr ScreenArea fieldLine{ 8, 0, 700, 36 };

// So that the line never fills, and no press falls together with a frame by habit.
class Typist
{
public:
    Typist(BenchmarkScreen& screen, const ScreenArea& line) : m_screen(screen), m_line(line) { }

    void clear()
    {
        m_screen.press("Control+a");
        m_screen.press("Delete");
        waitSeconds(0.1);
    }

    void type(std::size_t presses, std::vector<double>& seconds)
    {
        for (std::size_t i = 0; i < presses; ++i) {
            if (i % pressesOfALine == 0) {
                clear();
                m_screen.press("w"); // the first one takes the place of the placeholder
                waitSeconds(0.1);
            }
            waitSeconds(std::uniform_real_distribution(0.03, 0.08)(m_random));
            seconds.push_back(m_screen.secondsToDraw("w", m_line, columnsOfACharacter));
        }
        clear();
    }

private:
    BenchmarkScreen& m_screen;
    ScreenArea m_line;
    std::minstd_rand m_random{ 1 };
};

void tell(const char* what, const std::vector<double>& seconds)
{
    std::printf("%-44s %5.1f ms median, %5.1f ms for all but a twentieth, %zu presses\n", what, median(seconds) * 1e3,
        percentile(seconds, 0.95) * 1e3, seconds.size());
}

int measure(const BenchmarkOptions& options)
{
    constexpr double turnSeconds = 8;
    constexpr double answerComesAfter = 0.7;
    const std::size_t presses = options.number("presses");
    Workspace project = benchmarkProject();
    project.threads = { taskOfEntries(100) };
    BenchmarkWindow window({ project }, BenchmarkWindow::Reports::nothing);
    Typist composer(window.screen(), window.composerLine());
    const BenchmarkHome home;
    const BenchmarkDisplay display;
    const BenchmarkProgram field({ BENCHMARK_EMPTY_FIELD }, home.environment(display.name()));
    BenchmarkScreen fieldScreen(display.name());
    Typist fieldTypist(fieldScreen, fieldLine);
    const ScreenArea messages{ 300, 200, 800, 300 };
    std::vector<double> inField;
    std::vector<double> atRest;
    std::vector<double> whileStreaming;
    for (std::size_t round = 0; round < options.number("rounds"); ++round) {
        fieldTypist.type(presses, inField);
        composer.type(presses, atRest);
        const double start = secondsNow();
        window.send("stream " + std::to_string(static_cast<int>(turnSeconds * chunksPerSecond)));
        waitSeconds(answerComesAfter);
        const auto before = window.screen().pixels(messages);
        composer.type(presses, whileStreaming);
        if (secondsNow() - start > turnSeconds || window.screen().pixels(messages) == before) {
            giveUp("the answer did not stream while the keys were pressed");
        }
        waitSeconds(turnSeconds + 1 - (secondsNow() - start));
    }
    tell("in an empty text field", inField);
    tell("in the composer, at rest", atRest);
    tell("in the composer, while an answer streams", whileStreaming);
    const double ratio = median(whileStreaming) / median(inField);
    std::printf("key press to character while an answer streams / in an empty text field: %.2f (bar %.1f)\n", ratio, bar);
    return options.status(ratio <= bar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    if (const auto status = tessarin::playBenchmarkRuntime(argc, argv)) {
        return *status;
    }
    return tessarin::measure({ argc, argv, { { "rounds", "6" }, { "presses", "24" } } });
}
