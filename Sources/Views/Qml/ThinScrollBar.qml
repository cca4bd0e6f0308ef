import QtQuick
import QtQuick.Templates as T

// A quiet scroll bar: seen while it is used, or as long as there is more than is shown.
T.ScrollBar {
    id: root

    property bool steady: false

    implicitWidth: Theme.scrollBar
    implicitHeight: Theme.scrollBar
    padding: Theme.space2
    minimumSize: 0.05
    visible: size < 1

    contentItem: Rectangle {
        radius: width < height ? width / 2 : height / 2
        color: root.pressed ? Theme.secondaryText : Theme.strokeStrong
        opacity: root.active || root.hovered ? 0.9 : root.steady ? 0.6 : 0

        Behavior on opacity { NumberAnimation { duration: Theme.durationMedium; easing.type: Theme.easing } }
    }
}
