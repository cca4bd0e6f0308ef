#pragma once

#include <QList>
#include <QRect>

#include <optional>
#include <string>

namespace tessarin
{

// Where the window was when the program ended.
struct WindowPlace {
    static constexpr const char* key = "windowPlace.v1";
    static constexpr QSize leastSize{ 980, 640 };
    static constexpr QSize defaultSize{ 1180, 760 };

    QRect frame;
    bool isMaximized = false;
    bool operator==(const WindowPlace&) const = default;

    // "x y width height", followed by " maximized" where it was.
    [[nodiscard]] std::string text() const;
    [[nodiscard]] static std::optional<WindowPlace> parse(const std::string& text);
    // At least of the least size, else no larger than its screen, and where the person can reach it: when no screen shows enough of its
    // upper edge, or it was too large, it stands wholly on the screen that showed most of it. Absent without a screen.
    [[nodiscard]] std::optional<WindowPlace> fittedTo(const QList<QRect>& screens) const;
};

// Follows the window while the program runs, so that a window that ends maximized is known by the place that it goes back to.
class WindowPlaceKeeper
{
public:
    explicit WindowPlaceKeeper(const WindowPlace& begin);

    // The window is there now. That it is maximized may be told before its size, or after it.
    void note(const QRect& frame, bool isMaximized);
    [[nodiscard]] WindowPlace place() const;

private:
    QRect m_frame;
    bool m_isMaximized;
    QRect m_unmaximized; // the last frame before it was said to be maximized
    QRect m_before; // the last one of another size than that
};

} // namespace tessarin
