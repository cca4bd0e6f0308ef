#include "Views/SymbolProvider.h"

#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

namespace tessarin
{

SymbolProvider::SymbolProvider() : QQuickImageProvider(QQuickImageProvider::Image) { }

QImage SymbolProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize)
{
    const qsizetype mark = id.indexOf(QLatin1Char('?'));
    QFile file(QStringLiteral(":/Tessarin/Symbols/%1.svg").arg(id.left(mark)));
    QImage image(requestedSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (file.open(QIODevice::ReadOnly)) {
        QByteArray drawing = file.readAll();
        drawing.replace("currentColor", '#' + id.mid(mark + 1).toLatin1());
        QSvgRenderer renderer(drawing);
        QPainter painter(&image);
        renderer.render(&painter);
    }
    *size = image.size();
    return image;
}

} // namespace tessarin
