#pragma once

#include <QObject>
#include <qqmlintegration.h>

namespace tessarin
{

// Whether the person works with the keys at this moment, rather than with a pointer: then the focus has to be seen wherever it is, also
// where it came to by itself. Main thread only; one for each engine.
class KeyboardUse : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool isOn READ isOn NOTIFY changed)
public:
    explicit KeyboardUse(QObject* parent = nullptr);
    ~KeyboardUse() override;

    [[nodiscard]] bool isOn() const { return m_isOn; }
    // Sees the input of the whole program, and lets all of it pass.
    bool eventFilter(QObject* receiver, QEvent* event) override;

signals:
    void changed();

private:
    void set(bool isOn);

    bool m_isOn = false;
};

} // namespace tessarin
