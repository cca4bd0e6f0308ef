// Draws an SVG file as a square PNG picture: render-icon DRAWING SIZE PICTURE. Used while building; it needs no display.
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    constexpr int largestSize = 1024;
    const int size = argc == 4 ? std::atoi(argv[2]) : 0;
    if (size < 1 || size > largestSize) {
        std::fputs("Usage: render-icon DRAWING SIZE PICTURE\n", stderr);
        return 2;
    }
    QSvgRenderer drawing(QString::fromLocal8Bit(argv[1]));
    if (!drawing.isValid()) {
        std::fprintf(stderr, "%s is no drawing\n", argv[1]);
        return 1;
    }
    QImage picture(size, size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    drawing.render(&painter);
    painter.end();
    if (!picture.save(QString::fromLocal8Bit(argv[3]), "PNG")) {
        std::fprintf(stderr, "%s cannot be written\n", argv[3]);
        return 1;
    }
    return 0;
}
