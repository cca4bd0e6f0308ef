#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// A part of a window, in its pixels.
struct ScreenArea {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

// The one window on a private display as a person has it: real keys and a real pointer through the X server, and what is really drawn.
// Everything ends the benchmark when it fails.
class BenchmarkScreen
{
public:
    // Waits until a window as large as a main window is shown, and gives it the focus.
    explicit BenchmarkScreen(const std::string& display);
    ~BenchmarkScreen();
    BenchmarkScreen(const BenchmarkScreen&) = delete;
    BenchmarkScreen& operator=(const BenchmarkScreen&) = delete;

    [[nodiscard]] int width() const { return m_width; }
    [[nodiscard]] int height() const { return m_height; }

    void focus();
    void takeFocusAway();
    void point(int x, int y);
    void click(int x, int y);
    // One notch of the wheel where the pointer is; upwards when positive.
    void turnWheel(int notches);
    // A key by its X name ("Return"), with the control key held if it is written so ("Control+a").
    void press(std::string_view key);
    // Small letters, digits, blanks.
    void type(std::string_view text);

    // The pixels of the area, row by row.
    [[nodiscard]] std::vector<std::uint32_t> pixels(const ScreenArea& area);
    // Presses the key and waits until so many columns of the area look otherwise. The seconds from the press until then.
    [[nodiscard]] double secondsToDraw(std::string_view key, const ScreenArea& area, int columns);

private:
    struct Connection;

    [[nodiscard]] unsigned long mainWindow() const;
    void forgetDamage();
    [[nodiscard]] bool awaitDamage(const ScreenArea& area, double deadline);

    std::unique_ptr<Connection> m_connection;
    int m_width = 0;
    int m_height = 0;
};

} // namespace tessarin
