#include "Views/PairingCode.h"

#include <qrencode.h>

#include <memory>

namespace tessarin
{

namespace
{

struct Free {
    void operator()(QRcode* code) const { QRcode_free(code); }
};

std::unique_ptr<QRcode, Free> encoded(const QByteArray& bytes)
{
    constexpr int smallestThatFits = 0;
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.constData());
    return std::unique_ptr<QRcode, Free>(QRcode_encodeData(static_cast<int>(bytes.size()), data, smallestThatFits, QR_ECLEVEL_M));
}

} // namespace

QImage PairingCode::image(const QString& text)
{
    const auto code = text.isEmpty() ? nullptr : encoded(text.toUtf8());
    if (!code) {
        return {};
    }
    QImage modules(code->width + 2 * quietModules, code->width + 2 * quietModules, QImage::Format_RGB32);
    modules.fill(Qt::white);
    for (int y = 0; y < code->width; ++y) {
        for (int x = 0; x < code->width; ++x) {
            const bool isDark = (code->data[y * code->width + x] & 1U) != 0;
            if (isDark) {
                modules.setPixelColor(x + quietModules, y + quietModules, Qt::black);
            }
        }
    }
    return modules.scaled(modules.size() * modulePixels, Qt::IgnoreAspectRatio, Qt::FastTransformation);
}

} // namespace tessarin
