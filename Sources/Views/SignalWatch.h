#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace tessarin
{

// Turns SIGTERM, SIGINT and SIGHUP into an orderly end: the handler writes one byte, the loop reads it and emits `ended`. One instance.
class SignalWatch : public QObject
{
    Q_OBJECT
public:
    explicit SignalWatch(QObject* parent = nullptr);
    ~SignalWatch() override;

signals:
    void ended();

private:
    int m_reading = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace tessarin
