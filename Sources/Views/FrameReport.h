#pragma once

#include <QQuickWindow>
#include <QVariantAnimation>

#include <cstdio>
#include <memory>

namespace tessarin
{

// For measurements: keeps the window drawing frame after frame, as an animation does, and writes a line about each into a file: when it
// was shown, in seconds of the clock that only goes forward, and the processor time of the main thread until then.
// Main thread only; owned by the window that it watches.
class FrameReport : public QObject
{
    Q_OBJECT
public:
    static constexpr const char* variable = "TESSARIN_REPORT_FRAMES"; // names the file

    // Nothing happens unless the environment asks for it.
    static void beginIfAsked(QQuickWindow& window);

private:
    FrameReport(QQuickWindow& window, std::FILE* file);

    void write();

    struct Closing {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Closing> m_file;
    QVariantAnimation m_animation;
};

} // namespace tessarin
