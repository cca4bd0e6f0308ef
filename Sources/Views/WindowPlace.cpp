#include "Views/WindowPlace.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace tessarin
{

std::string WindowPlace::text() const
{
    std::ostringstream out;
    out << frame.x() << ' ' << frame.y() << ' ' << frame.width() << ' ' << frame.height();
    if (isMaximized) {
        out << " maximized";
    }
    return out.str();
}

std::optional<WindowPlace> WindowPlace::parse(const std::string& text)
{
    constexpr int farthest = 100000;
    std::istringstream in(text);
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    std::string state;
    in >> x >> y >> width >> height;
    if (!in || width <= 0 || height <= 0 || std::max({ std::abs(x), std::abs(y), width, height }) > farthest) {
        return std::nullopt;
    }
    in >> state;
    return WindowPlace{ QRect(x, y, width, height), state == "maximized" };
}

std::optional<WindowPlace> WindowPlace::fittedTo(const QList<QRect>& screens) const
{
    constexpr int graspWidth = 120; // enough of the upper edge to drag the window by
    constexpr int graspHeight = 30;
    WindowPlace place = *this;
    place.frame.setSize(frame.size().expandedTo(leastSize));
    const QRect edge(place.frame.topLeft(), QSize(place.frame.width(), graspHeight));
    const bool isReachable = std::any_of(screens.begin(), screens.end(), [&](const QRect& screen) {
        const QRect seen = screen.intersected(edge);
        return seen.width() >= graspWidth && seen.height() >= graspHeight;
    });
    return isReachable ? std::optional(place) : std::nullopt;
}

} // namespace tessarin
