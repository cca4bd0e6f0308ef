#include "Updates/UpdateKey.h"

#include "Updates/StrictBase64.h"

#include <algorithm>

namespace tessarin
{

std::optional<UpdateKey> UpdateKey::fromBase64(std::string_view text)
{
    const auto bytes = bytesFromBase64(text, byteCount);
    if (!bytes) {
        return std::nullopt;
    }
    UpdateKey key;
    std::transform(bytes->begin(), bytes->end(), key.bytes.begin(), [](char byte) { return static_cast<unsigned char>(byte); });
    return key;
}

std::optional<UpdateKey> UpdateKey::builtIn()
{
    return fromBase64(TESSARIN_UPDATE_PUBLIC_KEY);
}

} // namespace tessarin
