#pragma once

#include <QString>

#include <ostream>

// So that a failed comparison of Qt's texts can be read.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
