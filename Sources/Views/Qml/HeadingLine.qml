import QtQuick

// A heading, on one line or as many as it is given; what is beyond ends in "…". A label would keep its own role before the screen reader.
Item {
    id: root

    required property string text
    property alias font: line.font
    property alias maximumLineCount: line.maximumLineCount

    implicitWidth: line.implicitWidth
    implicitHeight: line.implicitHeight
    Accessible.role: Accessible.Heading
    Accessible.name: text

    Line {
        id: line

        width: root.width
        text: root.text
        wrapMode: maximumLineCount > 1 ? Text.WrapAtWordBoundaryOrAnywhere : Text.NoWrap
        Accessible.ignored: true
    }
}
