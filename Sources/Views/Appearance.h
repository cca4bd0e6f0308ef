#pragma once

#include "Views/DesktopPortal.h"

#include <QObject>
#include <qqmlintegration.h>

#include <optional>

namespace tessarin
{

class Preferences;

// Light or dark, and whether things may move, as the desktop says, live. Before the desktop has answered it is what it was at the last
// run; a desktop that says nothing is judged by its palette. TESSARIN_APPEARANCE=light|dark and TESSARIN_REDUCED_MOTION=0|1 decide for
// pictures and tests. Main thread only.
class Appearance : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The program makes its appearance")
    Q_PROPERTY(bool isDark READ isDark NOTIFY darkChanged)
    Q_PROPERTY(bool hasReducedMotion READ hasReducedMotion NOTIFY reducedMotionChanged)
public:
    static constexpr const char* key = "appearance.v1";

    // Needs the application object.
    explicit Appearance(Preferences& preferences);

    // Asks the desktop and follows it from now on.
    void follow(DesktopPortal& portal);

    [[nodiscard]] bool isDark() const { return m_isDark; }
    [[nodiscard]] bool hasReducedMotion() const { return m_hasReducedMotion; }

    bool eventFilter(QObject* application, QEvent* event) override;

signals:
    void darkChanged();
    void reducedMotionChanged();

private:
    void readScheme(const std::optional<QVariant>& value);
    void readAnimations(const std::optional<QVariant>& value);
    void readMotion(const std::optional<QVariant>& value);
    void setDark(bool isDark);
    void setReducedMotion(bool isReduced);

    Preferences& m_preferences;
    bool m_isDecided = false; // by the environment
    bool m_isMotionDecided = false;
    bool m_followsPalette = true; // the desktop itself says nothing
    bool m_isDark = false;
    bool m_hasReducedMotion = false;
    bool m_areAnimationsOff = false; // as the desktop says
    bool m_prefersLessMotion = false; // likewise
};

// How `color-scheme` of the desktop reads: 1 prefers dark, 2 light, anything else says nothing.
[[nodiscard]] std::optional<bool> darkFromColorScheme(const QVariant& value);

} // namespace tessarin
