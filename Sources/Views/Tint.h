#pragma once

#include <QObject>
#include <qqmlintegration.h>

namespace tessarin
{

// What a colour says. The theme gives each its shade in the light and in the dark look.
class Tint : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Tint is a set of values")
public:
    enum Value { Secondary, Green, Orange, Red, Plain }; // plain: as other text
    Q_ENUM(Value)
};

} // namespace tessarin
