import QtQuick
import QtQuick.Templates as T

// A text on one line. It begins at the left, where its symbol or its neighbours are, also when it is read from right to left.
T.Label {
    font: Theme.calloutFont
    color: Theme.text
    horizontalAlignment: Text.AlignLeft
    elide: Text.ElideRight
    maximumLineCount: 1
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter
}
