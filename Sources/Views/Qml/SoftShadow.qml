import QtQuick

// A soft shadow drawn from a picture in nine parts: the same with and without a graphics card, and no effect module.
BorderImage {
    id: root

    property bool high: false
    readonly property int reach: high ? Theme.shadowHigh : Theme.shadowLow
    readonly property int drop: high ? Theme.space12 : Theme.space2

    anchors.fill: parent
    anchors.margins: -reach
    anchors.topMargin: drop - reach
    anchors.bottomMargin: -drop - reach
    source: high ? "qrc:/Tessarin/Icons/shadow-high.png" : "qrc:/Tessarin/Icons/shadow-low.png"
    border.left: reach + Theme.radiusExtraLarge + Theme.space4
    border.right: border.left
    border.top: border.left
    border.bottom: border.left
    opacity: high ? Theme.shadowHighStrength : Theme.shadowLowStrength
}
