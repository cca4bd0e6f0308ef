#pragma once

#include <QObject>
#include <qqmlintegration.h>

namespace tessarin
{

// What a creation is, or is to be.
class ImagineFormat : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("ImagineFormat is a set of values")
public:
    enum Value { Image, Video };
    Q_ENUM(Value)
};

} // namespace tessarin
