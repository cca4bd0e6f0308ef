pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// What a person sends along with the report of a problem: the versions, and what the runtimes wrote beside their messages. In a low window
// the versions scroll, so that some lines of the log are always seen.
FocusScope {
    id: root

    required property WindowModel windowModel
    property bool copied: false
    // What the versions may take.
    readonly property real room: height - words.height - copy.height - 3 * Theme.space12 - 2 * Theme.space18 - Theme.logLeast

    RuntimeLogPages {
        id: log

        windowModel: root.windowModel
    }

    TextSelection {
        id: versions

        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.space18

        Flickable {
            id: told

            height: Math.min(contentHeight, Math.max(root.room, Theme.versionsLeast))
            contentHeight: lines.height
            boundsBehavior: Flickable.StopAtBounds
            clip: true
            activeFocusOnTab: contentHeight > height
            Accessible.role: Accessible.Pane
            Accessible.name: lines.label
            Keys.onPressed: event => keys.press(event)
            T.ScrollBar.vertical: ThinScrollBar { steady: true }

            ScrollKeys {
                id: keys

                view: told
            }

            SelectableText {
                id: lines

                width: told.width - Theme.space12 // beside the scroll bar
                content: log.versions
                label: "Versions"
                lineHeight: Theme.lineCodeSmall
                wrapMode: TextEdit.Wrap
                font: Theme.codeSmallFont
            }
        }
    }

    ScrollFocus {
        view: told
        inset: Theme.space6
    }

    Prose {
        id: words

        anchors.top: versions.bottom
        anchors.topMargin: Theme.space12
        anchors.left: versions.left
        anchors.right: versions.right
        text: "What the agents wrote beside their messages since a task last started one; those of Imagine too. Look it through before you send it to somebody: there may be names, addresses or keys in it."
    }

    RuntimeLogText {
        anchors.top: words.bottom
        anchors.bottom: copy.top
        anchors.left: versions.left
        anchors.right: versions.right
        anchors.topMargin: Theme.space12
        anchors.bottomMargin: Theme.space12
        focus: true
        log: log
    }

    PushButton {
        id: copy

        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: Theme.space18
        text: "Copy Versions and Log"
        onClicked: {
            PageActions.copy(log.report())
            notice.restart()
        }

        HoverTip {
            text: "Copied"
            shown: root.copied
            delay: 0
        }
    }

    SequentialAnimation {
        id: notice

        PropertyAction { target: root; property: "copied"; value: true }
        PauseAnimation { duration: Theme.durationCopied }
        PropertyAction { target: root; property: "copied"; value: false }
    }
}
