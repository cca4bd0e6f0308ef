pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The main pane: header, body, plan and composer.
Item {
    id: root

    required property ConversationModel conversation
    required property PermissionModel permission
    required property InstallModel install
    required property bool sidebarShown
    readonly property int columnWidth: Math.min(Theme.columnMaximum, width - 2 * Theme.columnInset)

    signal toggleSidebar()

    function focusComposer() {
        composer.takeFocus()
    }

    ConversationHeader {
        id: header

        width: parent.width
        conversation: root.conversation
        sidebarShown: root.sidebarShown
        onToggleSidebar: root.toggleSidebar()
    }

    LazyItem {
        anchors.top: header.bottom
        anchors.bottom: plan.visible ? plan.top : composer.top
        anchors.bottomMargin: Theme.space8
        width: parent.width
        sourceComponent: !root.conversation.hasRunnableProvider ? noRuntime : root.conversation.entries.count === 0 ? empty : messages
    }

    PlanStrip {
        id: plan

        anchors.bottom: composer.top
        anchors.bottomMargin: Theme.space8
        x: (root.width - width) / 2
        width: root.columnWidth
        visible: root.conversation.hasPlan
        plan: root.conversation.plan
        label: root.conversation.planLabel
        most: root.height * Theme.planShare
    }

    ChatComposer {
        id: composer

        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.columnInset
        x: (root.width - width) / 2
        width: root.columnWidth
        conversation: root.conversation
        permission: root.permission
    }

    Component {
        id: noRuntime

        InstallView {
            install: root.install
            onChecked: root.conversation.checkAgain()
        }
    }

    Component {
        id: empty

        EmptyConversationView {
            conversation: root.conversation
            onSent: root.focusComposer()
        }
    }

    Component {
        id: messages

        MessageArea { conversation: root.conversation }
    }
}
