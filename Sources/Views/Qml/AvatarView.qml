import QtQuick

// Who speaks: the provider's symbol, cut out of a filled circle in the ground's colour.
Rectangle {
    id: root

    required property string symbol

    implicitWidth: Theme.avatar
    implicitHeight: Theme.avatar
    radius: height / 2
    color: Theme.text

    SystemSymbol {
        anchors.centerIn: parent
        name: root.symbol
        size: Theme.symbolSmall
        color: Theme.window
    }
}
