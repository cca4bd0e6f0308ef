pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The right column: the gallery, the welcome screen or the conversation, and the banner above it. A section that is left is hidden and keeps
// what was typed there.
Item {
    id: root

    required property WindowModel windowModel
    required property bool sidebarShown

    signal toggleSidebar()

    // To where the next message or the next prompt is typed, if there is such a place.
    function focusComposer() {
        const task = build.object as ConversationView
        const gallery = imagine.object as ImagineView
        if (root.windowModel.showsImagine) {
            gallery.focusPrompt()
        } else if (task !== null) {
            task.focusComposer()
        }
    }

    clip: true

    LazyItem {
        id: imagine

        readonly property bool wanted: root.windowModel.showsImagine

        anchors.fill: parent
        visible: wanted
        active: false
        onWantedChanged: active = true // and stays
        Component.onCompleted: active = wanted

        sourceComponent: ImagineView {
            imagine: root.windowModel.imagine
            install: root.windowModel.install
            sidebarShown: root.sidebarShown
            onToggleSidebar: root.toggleSidebar()
        }
    }

    LazyItem {
        id: build

        anchors.fill: parent
        visible: !root.windowModel.showsImagine
        sourceComponent: root.windowModel.conversation.hasProject ? conversation : welcome
    }

    Component {
        id: welcome

        WelcomeView { onOpenProject: root.windowModel.openProject() }
    }

    Component {
        id: conversation

        ConversationView {
            conversation: root.windowModel.conversation
            permission: root.windowModel.permission
            install: root.windowModel.install
            sidebarShown: root.sidebarShown
            onToggleSidebar: root.toggleSidebar()
            Component.onCompleted: if (!root.windowModel.showsImagine) focusComposer()
        }
    }

    SlidingBanner {
        shown: root.windowModel.hasError
        message: root.windowModel.errorMessage
        onDismiss: {
            root.windowModel.dismissError()
            const section = root.windowModel.showsImagine ? imagine : build
            section.forceActiveFocus()
        }
    }
}
