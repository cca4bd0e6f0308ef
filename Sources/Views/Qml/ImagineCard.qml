import QtQuick
import QtQuick.Templates as T
import Tessarin

// One creation: preview, prompt, age and kind. A press on the preview opens it, and so does Return.
T.ItemDelegate {
    id: root

    required property ImagineModel imagine
    required property int index
    required property string itemID
    required property string prompt
    required property string excerpt
    required property string created
    required property int format
    required property string picturePath
    required property bool reachable
    readonly property string kind: format === ImagineFormat.Video ? "Video" : "Image"

    signal taken() // by the pointer

    function open() {
        imagine.open(itemID)
    }

    focusPolicy: reachable || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
    Accessible.name: prompt + ", " + kind + ", " + created
    Accessible.onPressAction: open()
    Keys.onReturnPressed: open()
    Keys.onEnterPressed: open()
    Keys.onSpacePressed: open()
    Keys.onPressed: event => menu.press(event)
    onActiveFocusChanged: if (activeFocus) taken()

    background: Rectangle {
        radius: Theme.radiusMedia
        color: Theme.card
    }

    CardPreview {
        id: preview

        width: parent.width
        height: Math.round(width / Theme.previewAspect)
        loader: root.imagine.previews
        path: root.picturePath
        onTapped: root.open()
    }

    CardInfo {
        anchors.top: preview.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        excerpt: root.excerpt
        prompt: root.prompt
        created: root.created
        format: root.format
        kind: root.kind
        reachable: root.reachable
        onOpened: root.open()
    }

    // Rounds off the corners of the preview.
    Rectangle {
        anchors.fill: parent
        anchors.margins: -Theme.space6
        radius: Theme.radiusMedia + Theme.space6
        color: "transparent"
        border.width: Theme.space6
        border.color: Theme.window
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.radiusMedia
        color: "transparent"
        border.width: Theme.hairline
        border.color: Theme.stroke

        FocusRing {
            control: root
            inside: true
            radius: Theme.radiusMedia
        }
    }

    CardMenu {
        id: menu

        onOpened: root.open()
        onTrashed: root.imagine.remove(root.itemID)
    }
}
