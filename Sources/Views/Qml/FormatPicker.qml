import QtQuick
import Tessarin

// An image or a video.
SegmentedPicker {
    id: root

    property int format: ImagineFormat.Image

    name: "Format"
    segments: [{ text: "Image", symbol: "photo" }, { text: "Video", symbol: "video" }]
    current: format === ImagineFormat.Image ? 0 : 1
    onPicked: index => root.format = index === 0 ? ImagineFormat.Image : ImagineFormat.Video
}
