#include "BenchmarkScreen.h"

#include "BenchmarkSupport.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xdamage.h>
#include <chrono>
#include <cmath>
#include <poll.h>
#include <thread>

namespace tessarin
{

namespace
{

constexpr double patienceSeconds = 30;
constexpr int leastWidth = 600;

} // namespace

struct BenchmarkScreen::Connection {
    Display* display = nullptr;
    Window window = None;
    Damage damage = None;
    int damageEvent = 0;

    void key(KeySym symbol, bool isDown) const
    {
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, symbol), isDown ? True : False, CurrentTime);
    }
};

BenchmarkScreen::BenchmarkScreen(const std::string& display) : m_connection(std::make_unique<Connection>())
{
    Connection& x = *m_connection;
    x.display = XOpenDisplay(display.c_str());
    if (x.display == nullptr) {
        giveUp("no connection to the display " + display);
    }
    const double deadline = secondsNow() + patienceSeconds;
    while ((x.window = mainWindow()) == None) {
        if (secondsNow() > deadline) {
            giveUp("no window came");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    XWindowAttributes attributes{};
    XGetWindowAttributes(x.display, x.window, &attributes);
    m_width = attributes.width;
    m_height = attributes.height;
    int error = 0;
    if (XDamageQueryExtension(x.display, &x.damageEvent, &error) == False) {
        giveUp("the display does not tell what is drawn");
    }
    x.damage = XDamageCreate(x.display, x.window, XDamageReportRawRectangles);
    focus();
}

BenchmarkScreen::~BenchmarkScreen()
{
    XCloseDisplay(m_connection->display);
}

unsigned long BenchmarkScreen::mainWindow() const
{
    Display* display = m_connection->display;
    Window root = None;
    Window parent = None;
    Window* windows = nullptr;
    unsigned count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &windows, &count);
    Window found = None;
    for (unsigned i = 0; i < count; ++i) {
        XWindowAttributes attributes{};
        if (XGetWindowAttributes(display, windows[i], &attributes) != 0 && attributes.map_state == IsViewable
            && attributes.width >= leastWidth) {
            found = windows[i];
        }
    }
    if (windows != nullptr) {
        XFree(windows);
    }
    return found;
}

void BenchmarkScreen::focus()
{
    XSetInputFocus(m_connection->display, m_connection->window, RevertToParent, CurrentTime);
    XSync(m_connection->display, False);
}

void BenchmarkScreen::takeFocusAway()
{
    XSetInputFocus(m_connection->display, None, RevertToNone, CurrentTime);
    XSync(m_connection->display, False);
}

void BenchmarkScreen::point(int x, int y)
{
    Display* display = m_connection->display;
    int rootX = 0;
    int rootY = 0;
    Window child = None;
    XTranslateCoordinates(display, m_connection->window, DefaultRootWindow(display), x, y, &rootX, &rootY, &child);
    XTestFakeMotionEvent(display, -1, rootX, rootY, CurrentTime);
    XSync(display, False);
}

void BenchmarkScreen::click(int x, int y)
{
    point(x, y);
    XTestFakeButtonEvent(m_connection->display, Button1, True, CurrentTime);
    XTestFakeButtonEvent(m_connection->display, Button1, False, CurrentTime);
    XSync(m_connection->display, False);
}

void BenchmarkScreen::turnWheel(int notches)
{
    const unsigned button = notches > 0 ? Button4 : Button5;
    for (int i = 0; i < std::abs(notches); ++i) {
        XTestFakeButtonEvent(m_connection->display, button, True, CurrentTime);
        XTestFakeButtonEvent(m_connection->display, button, False, CurrentTime);
    }
    XFlush(m_connection->display);
}

void BenchmarkScreen::press(std::string_view key)
{
    constexpr std::string_view control = "Control+";
    const bool isControlled = key.starts_with(control);
    key.remove_prefix(isControlled ? control.size() : 0);
    const KeySym symbol = XStringToKeysym(key == " " ? "space" : std::string(key).c_str());
    if (symbol == NoSymbol) {
        giveUp("no key: " + std::string(key));
    }
    if (isControlled) {
        m_connection->key(XStringToKeysym("Control_L"), true);
    }
    m_connection->key(symbol, true);
    m_connection->key(symbol, false);
    if (isControlled) {
        m_connection->key(XStringToKeysym("Control_L"), false);
    }
    XFlush(m_connection->display);
}

void BenchmarkScreen::type(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        press(text.substr(i, 1));
    }
}

std::vector<std::uint32_t> BenchmarkScreen::pixels(const ScreenArea& area)
{
    XImage* image = XGetImage(m_connection->display, m_connection->window, area.x, area.y, static_cast<unsigned>(area.width),
        static_cast<unsigned>(area.height), AllPlanes, ZPixmap);
    if (image == nullptr) {
        giveUp("no picture of the window");
    }
    std::vector<std::uint32_t> result;
    result.reserve(static_cast<std::size_t>(area.width) * static_cast<std::size_t>(area.height));
    for (int y = 0; y < area.height; ++y) {
        for (int x = 0; x < area.width; ++x) {
            result.push_back(static_cast<std::uint32_t>(XGetPixel(image, x, y)));
        }
    }
    XDestroyImage(image);
    return result;
}

double BenchmarkScreen::secondsToDraw(std::string_view key, const ScreenArea& area, int columns)
{
    const auto width = static_cast<std::size_t>(area.width);
    const std::vector<std::uint32_t> before = pixels(area);
    forgetDamage();
    const double start = secondsNow();
    press(key);
    while (awaitDamage(area, start + patienceSeconds)) {
        const std::vector<std::uint32_t> now = pixels(area);
        const double seen = secondsNow();
        std::vector<bool> differs(width);
        int count = 0;
        for (std::size_t i = 0; i < now.size(); ++i) {
            if (now[i] != before[i] && !differs[i % width]) {
                differs[i % width] = true;
                ++count;
            }
        }
        if (count >= columns) {
            return seen - start;
        }
    }
    giveUp("the key did not show on the screen");
}

void BenchmarkScreen::forgetDamage()
{
    XSync(m_connection->display, True);
}

bool BenchmarkScreen::awaitDamage(const ScreenArea& area, double deadline)
{
    Connection& x = *m_connection;
    for (;;) {
        while (XPending(x.display) > 0) {
            XEvent event{};
            XNextEvent(x.display, &event);
            if (event.type != x.damageEvent + XDamageNotify) {
                continue;
            }
            const XRectangle& drawn = reinterpret_cast<const XDamageNotifyEvent&>(event).area;
            if (drawn.x < area.x + area.width && drawn.x + drawn.width > area.x && drawn.y < area.y + area.height
                && drawn.y + drawn.height > area.y) {
                return true;
            }
        }
        const double left = deadline - secondsNow();
        pollfd waiting{ ConnectionNumber(x.display), POLLIN, 0 };
        if (left <= 0 || ::poll(&waiting, 1, static_cast<int>(std::ceil(left * 1000))) < 0) {
            return false;
        }
    }
}

} // namespace tessarin
