import QtQuick

// A heading on one line. A label would keep its own role before the screen reader.
Item {
    id: root

    required property string text
    property alias font: line.font

    implicitWidth: line.implicitWidth
    implicitHeight: line.implicitHeight
    Accessible.role: Accessible.Heading
    Accessible.name: text

    Line {
        id: line

        text: root.text
        Accessible.ignored: true
    }
}
