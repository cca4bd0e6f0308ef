#pragma once

#include <QQuickImageProvider>

namespace tessarin
{

// Draws a symbol of the set in one colour: `image://symbols/NAME?RRGGBB`, NAME a drawing below :/Symbols. The drawing gives the
// coverage, the colour replaces its `currentColor`. An unknown name is an empty picture.
class SymbolProvider : public QQuickImageProvider
{
public:
    SymbolProvider();

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace tessarin
