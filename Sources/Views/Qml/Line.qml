import QtQuick
import QtQuick.Templates as T

// A text on one line.
T.Label {
    font: Theme.calloutFont
    color: Theme.text
    elide: Text.ElideRight
    maximumLineCount: 1
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter
}
