#include "Views/PictureReader.h"

#include "Imagine/PictureBytes.h"
#include "Platform/Files.h"

#include <QBuffer>
#include <QImageReader>

namespace tessarin
{

namespace
{

const char* decoderName(PictureBytes::Format format)
{
    switch (format) {
    case PictureBytes::Format::gif:
        return "gif";
    case PictureBytes::Format::jpeg:
        return "jpeg";
    case PictureBytes::Format::png:
        return "png";
    case PictureBytes::Format::webp:
        return "webp";
    }
    return "";
}

bool isWithinLimits(QSize size, std::size_t passes)
{
    const qint64 pixels = qint64(size.width()) * size.height();
    return !size.isEmpty() && pixels <= PictureLimits::pixels && passes <= std::size_t(PictureLimits::decodedPixels / pixels);
}

bool isLarger(QSize size, QSize other)
{
    return size.width() > other.width() || size.height() > other.height();
}

QImage decode(PictureBytes::Format format, const std::string& bytes, QSize size)
{
    QByteArray encoded = QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
    QBuffer device(&encoded);
    device.open(QIODevice::ReadOnly);
    QImageReader reader(&device, decoderName(format));
    reader.setAutoDetectImageFormat(false); // no other decoder gets to see it
    reader.setAutoTransform(true);
    if (!isWithinLimits(reader.size(), PictureBytes::passes(format, bytes))) {
        return {};
    }
    const bool isTurned = (reader.transformation() & QImageIOHandler::TransformationRotate90) != 0;
    const QSize scaled = reader.size().scaled(isTurned ? size.transposed() : size, Qt::KeepAspectRatioByExpanding);
    if (isLarger(reader.size(), scaled)) {
        reader.setScaledSize(scaled);
    }
    return reader.read();
}

// Drops what lies outside the shape, so that an endless strip takes no more memory than a card.
QImage cut(const QImage& picture, QSize size)
{
    QRect kept(QPoint(), size.scaled(picture.size(), Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    kept.moveCenter(picture.rect().center());
    const QImage middle = kept == picture.rect() ? picture : picture.copy(kept);
    return isLarger(middle.size(), size) ? middle.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation) : middle;
}

} // namespace

QImage readPicture(const std::string& path, QSize size)
{
    auto file = readFile(path, PictureLimits::fileBytes);
    const auto format = file ? PictureBytes::format(file.value()) : std::nullopt;
    const auto bytes = format ? PictureBytes::essentials(*format, std::move(file).value()) : std::nullopt;
    const QImage picture = bytes ? decode(*format, *bytes, size) : QImage();
    if (picture.isNull()) {
        return {};
    }
    return cut(picture, size).convertToFormat(picture.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
}

} // namespace tessarin
