import QtQuick

// A separating line; set one of `width` and `height` by anchors.
Rectangle {
    implicitWidth: Theme.hairline
    implicitHeight: Theme.hairline
    color: Theme.stroke
}
