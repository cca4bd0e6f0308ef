import QtQuick
import Tessarin

// A page of the log.
SelectableText {
    id: root

    required property int index
    required property RuntimeLogPages log

    function read() {
        content = log.content(index)
        separator = log.isContinued(index) ? "" : "\n"
    }

    content: log.content(index)
    label: "Runtime log"
    separator: log.isContinued(index) ? "" : "\n"
    lineHeight: Theme.lineCodeSmall
    leftToRight: true
    font: Theme.codeSmallFont

    Connections {
        target: root.log

        function onDataChanged(first, last) {
            if (root.index >= first.row && root.index <= last.row) {
                root.read()
            }
        }
    }
}
