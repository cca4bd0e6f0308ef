pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The gallery of what was created, and what creates more.
FocusScope {
    id: root

    required property ImagineModel imagine
    required property InstallModel install
    required property bool sidebarShown
    property alias prompt: generator.prompt
    property alias format: generator.format

    signal toggleSidebar()

    function focusPrompt() {
        if (generator.visible) {
            generator.takeFocus()
        }
    }

    ImagineHeader {
        id: header

        width: parent.width
        imagine: root.imagine
        sidebarShown: root.sidebarShown
        onToggleSidebar: root.toggleSidebar()
    }

    LazyItem {
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        active: root.imagine.grokMissing

        sourceComponent: InstallView { install: root.install }
    }

    ImagineGallery {
        id: gallery

        anchors.top: header.bottom
        anchors.bottom: generator.top
        anchors.bottomMargin: Theme.space12
        width: parent.width
        visible: !root.imagine.grokMissing
        imagine: root.imagine
        onEmptied: root.focusPrompt()
    }

    ImagineGenerator {
        id: generator

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: Theme.space18
        visible: !root.imagine.grokMissing
        imagine: root.imagine
    }
}
