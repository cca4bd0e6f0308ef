import QtQuick

// One symbol of the set, tinted. The drawing gives the coverage, `color` the colour.
Image {
    id: root

    required property string name
    property int size: Theme.symbolMedium
    property color color: Theme.text

    width: size
    height: size
    sourceSize.width: size * Screen.devicePixelRatio
    sourceSize.height: size * Screen.devicePixelRatio
    source: name === "" ? "" : "image://symbols/" + name + "?" + color.toString().slice(-6)
}
