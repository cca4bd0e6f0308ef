#pragma once

#include "Printing.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <string>

namespace tessarin
{

// Pictures of a few kinds in a folder of their own.
class PictureTest : public testing::Test
{
protected:
    PictureTest()
    {
        EXPECT_TRUE(folder.isValid());
        QLoggingCategory::setFilterRules("qt.gui.imageio*=false"); // the decoders complain about what is damaged on purpose
    }

    // Red at the left, green in the middle, blue at the right.
    static QImage threeFields(QSize size)
    {
        QImage image(size, QImage::Format_RGB32);
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x) {
                image.setPixelColor(x, y, x < size.width() / 3 ? Qt::red : x < 2 * size.width() / 3 ? Qt::green : Qt::blue);
            }
        }
        return image;
    }
    static QByteArray encoded(
        const QImage& image, const char* format, QImageIOHandler::Transformations transformation = QImageIOHandler::TransformationNone)
    {
        QBuffer buffer;
        QImageWriter writer(&buffer, format);
        writer.setTransformation(transformation);
        EXPECT_TRUE(writer.write(image)) << format << ": " << writer.errorString().toStdString();
        return buffer.data();
    }
    // Two by one pixels, red and blue. LZW with codes of three bits: clear, 0, 1, end.
    static QByteArray gif()
    {
        return QByteArray("GIF89a\x02\x00\x01\x00\x80\x00\x00", 13) + QByteArray("\xff\x00\x00\x00\x00\xff", 6)
            + QByteArray(",\x00\x00\x00\x00\x02\x00\x01\x00\x00", 10) + QByteArray("\x02\x02\x44\x0a\x00", 5) + ";";
    }
    std::string path(const QString& name) const { return folder.filePath(name).toStdString(); }
    std::string written(const QString& name, const QByteArray& bytes) const
    {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return path(name);
    }

    QTemporaryDir folder;
};

} // namespace tessarin
