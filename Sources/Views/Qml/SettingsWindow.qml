pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The window of the settings.
SideWindow {
    id: root

    // A command that was copied from here is to be pasted by hand.
    property bool showsCommand: false
    readonly property FilePicker filePicker: windowModel.settings.filePicker

    title: "Settings"
    onClosing: {
        filePicker.cancel()
        if (showsCommand) {
            windowModel.install.dismissCopiedCommand()
        }
    }

    // What goes with the focus leaves it to the window as a whole, where no key is heard.
    onActiveFocusItemChanged: {
        if (activeFocusItem === null || activeFocusItem === contentItem) {
            form.forceActiveFocus(Qt.PopupFocusReason)
        }
    }

    SettingsView {
        id: form

        anchors.fill: parent
        focus: true
        windowModel: root.windowModel
    }

    LazyItem {
        active: root.filePicker.isOpen

        sourceComponent: FilePickerSheet { picker: root.filePicker }
    }

    LazyItem {
        active: root.showsCommand

        sourceComponent: CopiedCommandSheet { install: root.windowModel.install }
    }
}
