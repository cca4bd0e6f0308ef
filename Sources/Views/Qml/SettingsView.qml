pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// The settings: one form of sections, which scrolls where it is too long for the window.
FocusScope {
    id: root

    required property WindowModel windowModel

    Keys.onPressed: event => keys.press(event)

    ScrollKeys {
        id: keys

        view: view
    }

    Flickable {
        id: view

        anchors.fill: parent
        contentHeight: form.height + 2 * form.y
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        T.ScrollBar.vertical: ThinScrollBar { steady: true }

        Column {
            id: form

            x: Theme.space24
            y: Theme.space24
            width: parent.width - 2 * x
            spacing: Theme.space24

            RoutingSection {
                width: parent.width
                routing: root.windowModel.settings.routing
            }

            Repeater {
                model: root.windowModel.settings.runtimes

                RuntimeSection {
                    required property RuntimeSettingsModel modelData

                    width: form.width
                    runtime: modelData
                }
            }

            SettingsSection {
                width: parent.width
                heading: "How billing works"

                Prose {
                    width: parent.width
                    text: "tessarin is free. Grok Build uses SuperGrok, Codex uses ChatGPT, Kimi Code uses Kimi membership, OpenCode uses the configured Z.AI Coding Plan credential, and Claude Code uses its Claude login. tessarin does not provide or resell model access."
                }
            }

            LazyItem {
                width: parent.width
                active: root.windowModel.updates !== null

                sourceComponent: SoftwareUpdatesSection { updates: root.windowModel.updates }
            }

            RemoteSettingsSection {
                width: parent.width
                remote: root.windowModel.remote
            }
        }
    }

    ScrollFocus {
        id: ring

        view: view
    }

    // What goes wrong here is told here; the main window shows it too.
    SlidingBanner {
        shown: root.windowModel.hasError
        message: root.windowModel.errorMessage
        onDismiss: {
            root.windowModel.dismissError()
            root.forceActiveFocus()
        }
    }

    // A control that is reached by a key is scrolled to.
    Connections {
        target: root.Window.window

        function onActiveFocusItemChanged() {
            const item = root.Window.activeFocusItem
            if (item !== null && item !== view && root.activeFocus && ring.isReachedByKey(item)) {
                ring.follow(item)
            }
        }
    }
}
