import QtQuick
import Tessarin

// Format and prompt of the next creation.
Rectangle {
    id: root

    required property ImagineModel imagine
    property alias prompt: field.text
    property alias format: picker.format

    function takeFocus() {
        field.forceActiveFocus()
    }

    // The field is emptied at once; how it goes is told in the header.
    function generate() {
        const trimmed = imagine.promptToGenerate(prompt)
        if (trimmed !== "") {
            field.clear()
            imagine.generate(trimmed, format)
        }
    }

    // The button is out of reach when there is nothing to generate; so the focus goes where the next prompt is typed.
    function press() {
        if (imagine.working) {
            imagine.cancel()
        } else {
            generate()
        }
        takeFocus()
    }

    implicitHeight: formats.height + field.height + 2 * Theme.space12 + Theme.spaceRow
    radius: Theme.radiusExtraLarge
    color: Theme.card
    border.width: Theme.hairline
    border.color: Theme.stroke

    SoftShadow { z: -1 }

    Row {
        id: formats

        x: Theme.space12
        y: Theme.space12
        spacing: Theme.spaceRow

        Line {
            anchors.verticalCenter: parent.verticalCenter
            text: "Format"
            color: Theme.secondaryText
        }

        FormatPicker { id: picker }
    }

    PromptField {
        id: field

        anchors.left: parent.left
        anchors.leftMargin: Theme.space12
        anchors.right: button.left
        anchors.rightMargin: Theme.space8
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.space12
        onSubmitted: root.generate()
    }

    GenerateButton {
        id: button

        anchors.right: parent.right
        anchors.rightMargin: Theme.space12
        anchors.bottom: field.bottom
        working: root.imagine.working
        enabled: working || root.imagine.promptToGenerate(root.prompt) !== ""
        onClicked: root.press()
    }
}
