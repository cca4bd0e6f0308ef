import QtQuick
import QtQuick.Templates as T

// Running text of the interface itself: wrapped, with a fixed line height.
T.Label {
    font: Theme.calloutFont
    color: Theme.secondaryText
    wrapMode: Text.Wrap
    textFormat: Text.PlainText
    lineHeightMode: Text.FixedHeight
    lineHeight: font.pixelSize >= Theme.sizeBody ? Theme.lineBody : font.pixelSize >= Theme.sizeCallout ? Theme.lineCallout : Theme.lineCaption
}
