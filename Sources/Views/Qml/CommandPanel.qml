import QtQuick

// A command for a terminal, to be read and copied.
Rectangle {
    id: root

    required property string command

    implicitHeight: content.implicitHeight + 2 * Theme.space12
    radius: Theme.radiusMedium
    color: Theme.terminal

    TextEdit {
        id: content

        anchors.fill: parent
        anchors.margins: Theme.space12
        activeFocusOnTab: true
        readOnly: true
        selectByMouse: true
        textFormat: TextEdit.PlainText
        wrapMode: TextEdit.WrapAnywhere
        text: root.command
        font: Theme.codeSmallFont
        color: Theme.terminalText
        selectionColor: Theme.accentFill
        selectedTextColor: Theme.inkOnAccent
        Accessible.role: Accessible.EditableText
        Accessible.name: "Command"
        Accessible.readOnly: true
    }
}
