import QtQuick

// Something happens: the tesserae and who works.
Item {
    id: root

    required property string text
    required property bool running

    implicitHeight: Theme.avatar
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Tesserae {
        x: (Theme.avatar - width) / 2
        anchors.verticalCenter: parent.verticalCenter
        running: root.running
    }

    Line {
        x: Theme.avatar + Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        text: root.text
        color: Theme.secondaryText
        Accessible.ignored: true
    }
}
