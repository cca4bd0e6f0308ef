import QtQuick
import Tessarin

// What a person can do at this stage of an update; the last button goes on, the one before it ends.
Item {
    id: root

    required property UpdateFlow flow
    required property UpdateController updates
    readonly property bool isUnderWay: flow.stage === UpdateFlow.Checking || flow.stage === UpdateFlow.Fetching

    signal done()

    function takeFocus() {
        end.forceActiveFocus()
    }

    implicitHeight: Theme.controlHeight + Theme.space12

    PushButton {
        anchors.bottom: parent.bottom
        visible: root.flow.stage === UpdateFlow.Found
        text: "Skip This Version"
        onClicked: root.flow.skip()
    }

    Row {
        anchors.bottom: parent.bottom
        anchors.right: parent.right
        spacing: Theme.space8

        PushButton {
            id: end

            enabled: root.flow.stage !== UpdateFlow.Installing
            text: root.flow.stage === UpdateFlow.Found ? "Not Now" : root.isUnderWay ? "Cancel" : "Close"
            onClicked: root.done()
        }

        PushButton {
            visible: root.flow.stage === UpdateFlow.Found && root.flow.canInstall
            prominent: true
            text: root.flow.installTitle
            onClicked: root.flow.install()
        }

        PushButton {
            visible: root.flow.stage === UpdateFlow.Kept
            text: "Show Again"
            onClicked: root.flow.showKept()
        }

        PushButton {
            visible: root.flow.stage === UpdateFlow.Failed
            enabled: root.updates.isConfigured
            text: "Try Again"
            onClicked: root.updates.checkForUpdates()
        }
    }
}
