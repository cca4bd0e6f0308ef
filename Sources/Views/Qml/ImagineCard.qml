import QtQuick
import Tessarin

// One creation: preview, prompt, age and kind. A press on the preview opens it, and so does Return.
Item {
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
    readonly property bool showsFocus: activeFocus && KeyboardUse.isOn
    readonly property string kind: format === ImagineFormat.Video ? "Video" : "Image"

    signal taken() // the focus

    function open() {
        imagine.open(itemID)
    }

    activeFocusOnTab: reachable || activeFocus
    Accessible.role: Accessible.ListItem
    Accessible.focusable: true
    Accessible.name: prompt + ", " + kind + ", " + created
    Accessible.onPressAction: open()
    Keys.onReturnPressed: open()
    Keys.onEnterPressed: open()
    Keys.onSpacePressed: open()
    Keys.onPressed: event => menu.press(event)
    onActiveFocusChanged: if (activeFocus && index >= 0) taken() // one that is on its way out has no index

    TapHandler { onTapped: root.forceActiveFocus(Qt.MouseFocusReason) }

    Rectangle {
        anchors.fill: parent
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
        border.width: root.showsFocus ? Theme.focusWidth : Theme.hairline
        border.color: root.showsFocus ? Theme.accent : Theme.stroke
    }

    CardMenu {
        id: menu

        onOpened: root.open()
        onTrashed: root.imagine.remove(root.itemID)
    }
}
