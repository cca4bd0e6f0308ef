#include "Updates/StrictBase64.h"

#include <openssl/evp.h>

#include <algorithm>

namespace tessarin
{

namespace
{

bool isLetter(char character)
{
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9')
        || character == '+' || character == '/';
}

} // namespace

std::optional<std::string> bytesFromBase64(std::string_view text, std::size_t byteCount)
{
    const std::size_t padding = (3 - byteCount % 3) % 3;
    if (byteCount == 0 || text.size() != (byteCount + 2) / 3 * 4 || text.substr(text.size() - padding) != std::string_view("==", padding)) {
        return std::nullopt;
    }
    // The library passes over blanks at both ends and takes padding for letters.
    const std::string_view letters = text.substr(0, text.size() - padding);
    if (!std::all_of(letters.begin(), letters.end(), isLetter)) {
        return std::nullopt;
    }
    std::string bytes(text.size() / 4 * 3, '\0');
    const int count = EVP_DecodeBlock(
        reinterpret_cast<unsigned char*>(bytes.data()), reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
    if (count != static_cast<int>(bytes.size())) {
        return std::nullopt;
    }
    bytes.resize(byteCount);
    return bytes;
}

} // namespace tessarin
