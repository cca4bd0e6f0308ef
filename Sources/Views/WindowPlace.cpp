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
    if (screens.isEmpty()) {
        return std::nullopt;
    }
    const auto shown = [this](const QRect& screen) {
        const QRect seen = screen.intersected(frame);
        return seen.isValid() ? qint64(seen.width()) * seen.height() : 0;
    };
    const QRect screen = *std::max_element(
        screens.begin(), screens.end(), [&](const QRect& left, const QRect& right) { return shown(left) < shown(right); });
    WindowPlace place = *this;
    place.frame.setSize(frame.size().boundedTo(screen.size()).expandedTo(leastSize));
    const QRect edge(place.frame.topLeft(), QSize(place.frame.width(), graspHeight));
    const bool isReachable = std::any_of(screens.begin(), screens.end(), [&](const QRect& each) {
        const QRect seen = each.intersected(edge);
        return seen.width() >= graspWidth && seen.height() >= graspHeight;
    });
    const bool isTooLarge = frame.width() > screen.width() || frame.height() > screen.height();
    if (!isReachable || isTooLarge) {
        place.frame.moveLeft(std::clamp(frame.x(), screen.left(), std::max(screen.left(), screen.right() + 1 - place.frame.width())));
        place.frame.moveTop(std::clamp(frame.y(), screen.top(), std::max(screen.top(), screen.bottom() + 1 - place.frame.height())));
    }
    return place;
}

WindowPlaceKeeper::WindowPlaceKeeper(const WindowPlace& begin)
    : m_frame(begin.frame), m_isMaximized(begin.isMaximized), m_unmaximized(begin.frame), m_before(begin.frame)
{
}

void WindowPlaceKeeper::note(const QRect& frame, bool isMaximized)
{
    m_frame = frame;
    m_isMaximized = isMaximized;
    if (!isMaximized) {
        m_before = frame.size() == m_unmaximized.size() ? m_before : m_unmaximized;
        m_unmaximized = frame;
    }
}

WindowPlace WindowPlaceKeeper::place() const
{
    // A maximized window that still has the size of before was given the size of a maximized one before it was said to be one.
    const bool wasToldLate = m_isMaximized && m_frame.size() == m_unmaximized.size();
    return { wasToldLate ? m_before : m_unmaximized, m_isMaximized };
}

} // namespace tessarin
