import QtQuick
import QtQuick.Templates as T

// A line between the entries of a menu.
T.MenuSeparator {
    implicitHeight: Theme.space8
    width: parent ? parent.width : 0

    contentItem: Item {
        Hairline {
            anchors.verticalCenter: parent.verticalCenter
            x: Theme.space4
            width: parent.width - 2 * Theme.space4
        }
    }
}
