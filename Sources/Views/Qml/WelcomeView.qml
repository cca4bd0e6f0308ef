import QtQuick

// No project is open.
Item {
    id: root

    signal openProject()

    Rectangle {
        anchors.fill: parent
        gradient: Gradient {
            GradientStop { position: 0; color: Qt.alpha(Theme.accent, Theme.accentGlow) }
            GradientStop { position: 0.7; color: Qt.alpha(Theme.accent, 0) }
        }
    }

    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.columnInset
        spacing: Theme.spaceWelcome

        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Theme.welcomeBadge
            height: Theme.welcomeBadge
            radius: Theme.radiusBadge
            color: Theme.card
            border.width: Theme.hairline
            border.color: Theme.stroke

            SystemSymbol {
                anchors.centerIn: parent
                name: "sparkles"
                size: Theme.symbolSheet
                color: Theme.accent
            }
        }

        Prose {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "All your agents at one desk.\nEvery task outlives its allowance."
            font: Theme.largeFont
            lineHeight: Theme.lineLarge
            color: Theme.text
        }

        Prose {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "One native project workspace for Grok, ChatGPT/Codex, and Kimi,\nusing the subscriptions you already pay for."
            font: Theme.bodyFont
        }

        PushButton {
            anchors.horizontalCenter: parent.horizontalCenter
            implicitHeight: Theme.controlLarge
            prominent: true
            text: "Open a Project"
            onClicked: root.openProject()
        }

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            topPadding: Theme.space8
            spacing: Theme.space24

            LabelledSymbol { text: "Subscription-first"; symbol: "key.slash" }
            LabelledSymbol { text: "Local tools"; symbol: "terminal" }
            LabelledSymbol { text: "Approval controls"; symbol: "checkmark.shield" }
        }
    }
}
