#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>

namespace tessarin
{

// Lets the caret stand still, and in sight, when nobody has typed or clicked for a while: each blink would wake the program. With the next
// key, click or focus it blinks again as the system wants it to. Installed on the application as an event filter. Main thread only.
class CaretRest : public QObject
{
    Q_OBJECT
public:
    // As long as other desktop programs let it blink.
    static constexpr std::chrono::milliseconds patience{ 10000 };

    explicit CaretRest(std::chrono::milliseconds restsAfter = patience);

    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    void wake();
    void rest();

    QTimer m_timer;
    bool m_isResting = false;
};

} // namespace tessarin
