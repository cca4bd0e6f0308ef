import QtQuick

// A separating line between blocks.
BlockRow {
    Hairline {
        y: Theme.space6
        width: parent.width
    }
}
