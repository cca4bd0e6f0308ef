#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>
#include <optional>

#if !defined(__APPLE__)
class QDBusVariant;
#endif

namespace tessarin
{

// What the desktop answers over its message bus, asked without waiting. On a system without such a bus every answer is absent.
// Main thread only.
class DesktopPortal : public QObject
{
    Q_OBJECT
#if !defined(__APPLE__)
    Q_MOC_INCLUDE(<QDBusVariant>)
#endif
public:
    explicit DesktopPortal(QObject* parent = nullptr);

    using SettingRead = std::function<void(std::optional<QVariant>)>;
    // A setting of `org.freedesktop.portal.Settings`; settingChanged follows it from then on.
    void readSetting(const QString& group, const QString& key, SettingRead done);

    struct PathDialog {
        enum class Kind { folder, file };
        Kind kind = Kind::folder;
        QString title;
        QString acceptLabel;
        QString parent; // the window it belongs to, as portals name it; empty when it cannot be named
    };
    struct PathAnswer {
        bool isOffered = false; // false: this desktop has no such dialog
        std::optional<QString> path; // absent: the person gave up
    };
    // The desktop's own dialog for one folder or one file, `org.freedesktop.portal.FileChooser`.
    void choosePath(const PathDialog& dialog, std::function<void(PathAnswer)> done);

    // `org.freedesktop.FileManager1.ShowItems`; false when no file manager takes it.
    void showInFileManager(const QString& path, std::function<void(bool)> done);

signals:
    void settingChanged(const QString& group, const QString& key, const QVariant& value);

private:
#if !defined(__APPLE__)
    Q_SLOT void onSettingChanged(const QString& group, const QString& key, const QDBusVariant& value);
#endif
    bool m_followsSettings = false;
};

} // namespace tessarin
