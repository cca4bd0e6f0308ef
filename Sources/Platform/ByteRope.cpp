#include "Platform/Files.h"

namespace tessarin
{

ByteRope::ByteRope(std::string bytes)
{
    append(std::move(bytes));
}

void ByteRope::append(Piece piece)
{
    if (piece && !piece->empty()) {
        m_size += piece->size();
        m_pieces.push_back(std::move(piece));
    }
}

void ByteRope::append(std::string bytes)
{
    append(std::make_shared<const std::string>(std::move(bytes)));
}

std::string ByteRope::joined() const
{
    std::string bytes;
    bytes.reserve(m_size);
    for (const Piece& piece : m_pieces) {
        bytes += *piece;
    }
    return bytes;
}

} // namespace tessarin
