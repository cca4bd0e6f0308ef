import QtQuick
import Tessarin

// No runtime can run yet: how to get one.
Item {
    id: root

    required property InstallModel install

    signal checked()

    Column {
        anchors.centerIn: parent
        width: Math.min(Theme.installWidth, parent.width - 2 * Theme.columnInset)
        spacing: Theme.spaceInstall

        SystemSymbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "terminal.fill"
            size: Theme.symbolHero
            color: Theme.accent
        }

        Column {
            width: parent.width
            spacing: Theme.space8

            Line {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: "Connect a subscription provider"
                font: Theme.headlineFont
            }

            Prose {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: "Use Grok Build, Codex, or Kimi Code with your existing subscription.\ntessarin removes API-key variables and never uses metered API billing."
                font: Theme.bodyFont
            }
        }

        Column {
            width: parent.width
            spacing: Theme.space12

            CommandPanel {
                width: parent.width
                command: root.install.command
            }

            Prose {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: "The button copies this official command and opens Terminal. Paste it, run it, then return here."
                font: Theme.captionFont
            }
        }

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.space8

            PushButton {
                prominent: true
                text: "Copy Command & Open Terminal"
                onClicked: root.install.copyCommandAndOpenTerminal()
            }

            PushButton {
                text: "Check Again"
                onClicked: {
                    root.install.checkAgain()
                    root.checked()
                }
            }
        }

        Prose {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "Codex and Kimi Code are also detected automatically from installed apps and your PATH."
            font: Theme.captionFont
        }
    }
}
