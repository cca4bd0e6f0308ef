#pragma once

#include "Platform/MainThread.h"

#include <QObject>
#include <QTimer>

#include <atomic>

namespace tessarin
{

// The program's main thread, run by Qt's loop: posted work wakes the loop, runs for a few milliseconds at most and then leaves it time to
// paint and to take keys. May be constructed before the application object; work then waits for the loop. Main thread only.
class QtMainThread : public QObject
{
    Q_OBJECT
public:
    QtMainThread();
    ~QtMainThread() override;

    [[nodiscard]] MainThread& mainThread() { return m_mainThread; }

protected:
    bool event(QEvent* event) override;

private:
    void wake(); // any thread
    void drain();

    std::atomic<bool> m_isWoken = false;
    std::unique_ptr<QTimer> m_timer; // comes with the first turn of the loop: a timer needs it
    MainThread m_mainThread;
};

} // namespace tessarin
