#include "Views/TerminalProgram.h"

#include <QDir>
#include <QProcess>
#include <QStandardPaths>

namespace tessarin::TerminalProgram
{

QStringList candidates(const QString& terminalVariable)
{
    QStringList names{ QStringLiteral("xdg-terminal-exec") };
    if (!terminalVariable.isEmpty()) {
        names.append(terminalVariable);
    }
    names.append({ QStringLiteral("x-terminal-emulator"), QStringLiteral("gnome-terminal"), QStringLiteral("kgx"),
        QStringLiteral("konsole"), QStringLiteral("xfce4-terminal"), QStringLiteral("mate-terminal"), QStringLiteral("lxterminal"),
        QStringLiteral("qterminal"), QStringLiteral("alacritty"), QStringLiteral("kitty"), QStringLiteral("foot"),
        QStringLiteral("wezterm"), QStringLiteral("xterm") });
    return names;
}

std::optional<QString> choose(const QStringList& candidates, const std::function<QString(const QString& name)>& find)
{
    for (const QString& name : candidates) {
        if (const QString path = find(name); !path.isEmpty()) {
            return path;
        }
    }
    return std::nullopt;
}

bool open()
{
    const auto path
        = choose(candidates(qEnvironmentVariable("TERMINAL")), [](const QString& name) { return QStandardPaths::findExecutable(name); });
    return path && QProcess::startDetached(*path, {}, QDir::homePath());
}

} // namespace tessarin::TerminalProgram
