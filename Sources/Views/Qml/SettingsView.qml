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
