#pragma once

#include <QObject>

class QQuickItem;

namespace tessarin
{

// Tells screen readers when a button opens or closes what it discloses, and when it is enabled or disabled. Main thread only; lives and
// dies with its button.
class StateTeller : public QObject
{
    Q_OBJECT
public:
    static void follow(QQuickItem& button);
    // It has a property `expanded`, and none named `expandable` that says no.
    [[nodiscard]] static bool isExpandable(const QObject& button);

private:
    explicit StateTeller(QQuickItem& button);
    Q_SLOT void tellExpanded();
    void tellEnabled();

    QObject& m_button;
};

} // namespace tessarin
