pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The right column: the welcome screen or the conversation, and the banner above it.
Item {
    id: root

    required property WindowModel windowModel
    required property bool sidebarShown

    signal toggleSidebar()

    // To where the next message is typed, if there is a task.
    function focusComposer() {
        const view = body.object as ConversationView
        if (view !== null) {
            view.focusComposer()
        }
    }

    clip: true

    LazyItem {
        id: body

        anchors.fill: parent
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
            Component.onCompleted: focusComposer()
        }
    }

    ErrorBanner {
        id: banner

        x: Theme.bannerInset
        y: shown ? Theme.space8 : 0
        width: parent.width - 2 * Theme.bannerInset
        visible: opacity > 0
        opacity: shown ? 1 : 0
        message: root.windowModel.errorMessage
        onDismiss: {
            root.windowModel.dismissError()
            body.forceActiveFocus()
        }

        readonly property bool shown: root.windowModel.hasError

        Behavior on y { NumberAnimation { duration: Theme.durationMedium; easing.type: Theme.easing } }
        Behavior on opacity { NumberAnimation { duration: Theme.durationMedium; easing.type: Theme.easing } }
    }
}
