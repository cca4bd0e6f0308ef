import QtQuick
import Tessarin

// An image or a video: segments of equal width in a sunken track. Tab leads to the chosen one, the arrows choose the other.
Rectangle {
    id: root

    property int format: ImagineFormat.Image

    function choose(segment) {
        format = segment.format
        segment.forceActiveFocus(Qt.TabFocusReason)
    }

    implicitWidth: Theme.formatPickerWidth
    implicitHeight: Theme.controlHeight
    radius: Theme.radiusButton
    color: Theme.dark ? Theme.sunken : Theme.stroke
    Accessible.role: Accessible.Grouping
    Accessible.name: "Format"
    Keys.onLeftPressed: choose(image)
    Keys.onUpPressed: choose(image)
    Keys.onRightPressed: choose(video)
    Keys.onDownPressed: choose(video)

    Row {
        anchors.fill: parent
        anchors.margins: Theme.space2

        FormatSegment {
            id: image

            width: parent.width / 2
            height: parent.height
            format: ImagineFormat.Image
            text: "Image"
            symbol: "photo"
            chosen: root.format === format
            onPicked: root.format = format
        }

        FormatSegment {
            id: video

            width: parent.width / 2
            height: parent.height
            format: ImagineFormat.Video
            text: "Video"
            symbol: "video"
            chosen: root.format === format
            onPicked: root.format = format
        }
    }
}
