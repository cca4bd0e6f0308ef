import QtQuick
import Tessarin

// What is said to a screen reader and seen by nobody: a notification that comes for a moment, and its coming is what is spoken.
Item {
    id: root

    required property Announcer announcer

    width: Theme.hairline
    height: Theme.hairline
    visible: false
    Accessible.role: Accessible.Notification
    Accessible.name: announcer.text

    Connections {
        target: root.announcer

        function onSaid() { moment.restart() }
    }

    SequentialAnimation {
        id: moment

        PropertyAction { target: root; property: "visible"; value: false }
        PropertyAction { target: root; property: "visible"; value: true }
        PauseAnimation { duration: Theme.durationCopied }
        PropertyAction { target: root; property: "visible"; value: false }
    }
}
