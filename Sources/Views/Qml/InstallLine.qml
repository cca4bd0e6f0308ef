import QtQuick

// How a runtime is installed, to be read and copied.
TextEdit {
    id: root

    activeFocusOnTab: true
    readOnly: true
    selectByMouse: true
    textFormat: TextEdit.PlainText
    wrapMode: TextEdit.WrapAtWordBoundaryOrAnywhere
    font: Theme.codeSmallFont
    color: Theme.secondaryText
    selectionColor: Theme.accentFill
    selectedTextColor: Theme.inkOnAccent
    Accessible.role: Accessible.EditableText
    Accessible.name: "Install command"
    Accessible.readOnly: true

    Rectangle {
        anchors.fill: parent
        anchors.margins: -Theme.focusWidth
        radius: Theme.radiusSmall
        color: "transparent"
        border.width: Theme.focusWidth
        border.color: Theme.accent
        visible: root.activeFocus
    }
}
