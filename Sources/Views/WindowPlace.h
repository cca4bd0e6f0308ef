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
    // At least of the least size, and where the person can reach it: absent when no screen shows enough of its upper edge.
    [[nodiscard]] std::optional<WindowPlace> fittedTo(const QList<QRect>& screens) const;
};

} // namespace tessarin
