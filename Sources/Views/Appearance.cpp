#include "Views/Appearance.h"

#include "Platform/Preferences.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace tessarin
{

namespace
{

const QString schemeGroup = QStringLiteral("org.freedesktop.appearance");
const QString schemeKey = QStringLiteral("color-scheme");
const QString motionKey = QStringLiteral("reduced-motion");
// Where desktops said it before there was a key of its own.
const QString animationsGroup = QStringLiteral("org.gnome.desktop.interface");
const QString animationsKey = QStringLiteral("enable-animations");

constexpr const char* dark = "dark";
constexpr const char* light = "light";

bool isPaletteDark()
{
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

} // namespace

std::optional<bool> darkFromColorScheme(const QVariant& value)
{
    constexpr uint prefersDark = 1;
    constexpr uint prefersLight = 2;
    bool isNumber = false;
    const uint scheme = value.toUInt(&isNumber);
    if (!isNumber || (scheme != prefersDark && scheme != prefersLight)) {
        return std::nullopt;
    }
    return scheme == prefersDark;
}

Appearance::Appearance(Preferences& preferences) : m_preferences(preferences)
{
    const QByteArray wanted = qgetenv("TESSARIN_APPEARANCE");
    m_isDecided = wanted == dark || wanted == light;
    const auto last = preferences.text(key);
    m_isDark = m_isDecided ? wanted == dark : last ? *last == dark : isPaletteDark();
    m_isMotionDecided = qEnvironmentVariableIsSet("TESSARIN_REDUCED_MOTION");
    m_hasReducedMotion = qEnvironmentVariableIntValue("TESSARIN_REDUCED_MOTION") != 0;
}

void Appearance::follow(DesktopPortal& portal)
{
    qApp->installEventFilter(this);
    connect(&portal, &DesktopPortal::settingChanged, this, [this](const QString& group, const QString& name, const QVariant& value) {
        if (group == schemeGroup && name == schemeKey) {
            readScheme(value);
        } else if (group == schemeGroup && name == motionKey) {
            readMotion(value);
        } else if (group == animationsGroup && name == animationsKey) {
            readAnimations(value);
        }
    });
    portal.readSetting(schemeGroup, schemeKey, [this](const std::optional<QVariant>& value) { readScheme(value); });
    portal.readSetting(schemeGroup, motionKey, [this](const std::optional<QVariant>& value) { readMotion(value); });
    portal.readSetting(animationsGroup, animationsKey, [this](const std::optional<QVariant>& value) { readAnimations(value); });
}

void Appearance::readScheme(const std::optional<QVariant>& value)
{
    const std::optional<bool> said = value ? darkFromColorScheme(*value) : std::nullopt;
    m_followsPalette = !said;
    setDark(said.value_or(isPaletteDark()));
}

void Appearance::readAnimations(const std::optional<QVariant>& value)
{
    m_areAnimationsOff = value && value->typeId() == QMetaType::Bool && !value->toBool();
    setReducedMotion(m_areAnimationsOff || m_prefersLessMotion);
}

void Appearance::readMotion(const std::optional<QVariant>& value)
{
    constexpr uint prefersLess = 1;
    m_prefersLessMotion = value && value->typeId() == QMetaType::UInt && value->toUInt() == prefersLess;
    setReducedMotion(m_areAnimationsOff || m_prefersLessMotion);
}

void Appearance::setDark(bool isDark)
{
    if (m_isDecided || isDark == m_isDark) {
        return;
    }
    m_isDark = isDark;
    m_preferences.setText(key, isDark ? dark : light);
    emit darkChanged();
}

void Appearance::setReducedMotion(bool isReduced)
{
    if (m_isMotionDecided || isReduced == m_hasReducedMotion) {
        return;
    }
    m_hasReducedMotion = isReduced;
    emit reducedMotionChanged();
}

bool Appearance::eventFilter(QObject* application, QEvent* event)
{
    if (event->type() == QEvent::ApplicationPaletteChange && m_followsPalette) {
        setDark(isPaletteDark());
    }
    return QObject::eventFilter(application, event);
}

} // namespace tessarin
