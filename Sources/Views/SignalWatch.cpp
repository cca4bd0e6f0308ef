#include "Views/SignalWatch.h"

#include <array>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace tessarin
{

namespace
{

constexpr std::array watchedSignals{ SIGTERM, SIGINT, SIGHUP };
std::atomic<int> writingEnd = -1;

extern "C" void noteSignal(int)
{
    const char byte = 0;
    // A full pipe has said it already.
    [[maybe_unused]] const auto written = ::write(writingEnd.load(), &byte, 1);
}

} // namespace

SignalWatch::SignalWatch(QObject* parent) : QObject(parent)
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // the signals keep their ordinary, less orderly end
    }
    m_reading = ends[0];
    writingEnd = ends[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_reading, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        while (::read(m_reading, &byte, 1) > 0) { }
        emit ended();
    });
    for (const int number : watchedSignals) {
        struct sigaction action = {};
        action.sa_handler = noteSignal;
        action.sa_flags = SA_RESTART;
        ::sigaction(number, &action, nullptr);
    }
}

SignalWatch::~SignalWatch()
{
    if (m_reading < 0) {
        return;
    }
    for (const int number : watchedSignals) {
        ::signal(number, SIG_DFL);
    }
    m_notifier.reset();
    ::close(m_reading);
    ::close(writingEnd.exchange(-1));
}

} // namespace tessarin
