#include "Views/FrameReport.h"

#include <chrono>
#include <ctime>

namespace tessarin
{

void FrameReport::beginIfAsked(QQuickWindow& window)
{
    const QByteArray path = qgetenv(variable);
    if (std::FILE* file = path.isEmpty() ? nullptr : std::fopen(path.constData(), "we")) {
        new FrameReport(window, file);
    }
}

FrameReport::FrameReport(QQuickWindow& window, std::FILE* file) : QObject(&window), m_file(file)
{
    constexpr int round = 1000;
    m_animation.setStartValue(0);
    m_animation.setEndValue(round);
    m_animation.setDuration(round);
    m_animation.setLoopCount(-1);
    connect(&m_animation, &QVariantAnimation::valueChanged, &window, &QQuickWindow::update);
    connect(&window, &QQuickWindow::frameSwapped, this, &FrameReport::write, Qt::DirectConnection);
    m_animation.start();
}

void FrameReport::write()
{
    timespec processor{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &processor);
    const double shown = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    std::fprintf(m_file.get(), "%.6f %.6f\n", shown, static_cast<double>(processor.tv_sec) + static_cast<double>(processor.tv_nsec) / 1e9);
    std::fflush(m_file.get());
}

} // namespace tessarin
