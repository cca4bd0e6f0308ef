#include "Platform/Files.h"

#include <utility>

namespace tessarin
{

ByteRope::Piece ByteRope::makePiece(std::string_view bytes)
{
    auto owner = std::make_shared<const std::string>(bytes);
    const std::string_view owned = *owner;
    return { std::move(owner), owned };
}

ByteRope::ByteRope(std::string bytes)
{
    append(std::move(bytes));
}

void ByteRope::append(Piece piece)
{
    if (!piece.bytes.empty()) {
        m_size += piece.bytes.size();
        m_pieces.push_back(std::move(piece));
    }
}

void ByteRope::append(std::string bytes)
{
    auto owner = std::make_shared<const std::string>(std::move(bytes));
    const std::string_view owned = *owner;
    append(Piece{ std::move(owner), owned });
}

std::string ByteRope::joined() const
{
    std::string bytes;
    bytes.reserve(m_size);
    for (const Piece& piece : m_pieces) {
        bytes += piece.bytes;
    }
    return bytes;
}

} // namespace tessarin
