import QtQuick
import QtQuick.Templates as T

// A field for one line of text.
T.TextField {
    id: root

    required property string name

    implicitHeight: Theme.controlHeight
    leftPadding: Theme.spaceRow
    rightPadding: Theme.spaceRow
    font: Theme.calloutFont
    color: Theme.text
    selectionColor: Theme.accentFill
    selectedTextColor: Theme.inkOnAccent
    selectByMouse: true
    verticalAlignment: TextInput.AlignVCenter
    Accessible.name: name

    Line {
        x: root.leftPadding
        width: parent.width - root.leftPadding - root.rightPadding
        height: parent.height
        visible: root.length === 0 && root.preeditText === ""
        text: root.placeholderText
        font: root.font
        color: Theme.secondaryText
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: Theme.card
        border.width: root.activeFocus ? Theme.focusWidth : Theme.hairline
        border.color: root.activeFocus ? Theme.accent : Theme.strokeField
    }
}
