#include "Remote/RemoteMessageMemory.h"

#include <openssl/evp.h>

#include <utility>

namespace tessarin
{

namespace
{

// An id may be as long as a message. Of a long one its digest is remembered, made longer than any id that is remembered as it is.
constexpr std::size_t wholeIDLimit = 64;

std::string remembered(std::string_view id)
{
    std::string digest(wholeIDLimit + 1, '\0');
    if (id.size() <= wholeIDLimit
        || EVP_Digest(id.data(), id.size(), reinterpret_cast<unsigned char*>(digest.data()), nullptr, EVP_sha256(), nullptr) != 1) {
        return std::string(id);
    }
    return digest;
}

} // namespace

bool RemoteMessageMemory::contains(std::string_view id) const
{
    return m_recentMessageIDSet.contains(remembered(id));
}

bool RemoteMessageMemory::insert(std::string_view id)
{
    std::string entry = remembered(id);
    if (m_recentMessageIDSet.contains(entry)) {
        return false;
    }
    m_recentMessageIDSet.insert(m_recentMessageIDs.emplace_back(std::move(entry)));
    if (m_recentMessageIDs.size() > mostCount) {
        while (m_recentMessageIDs.size() > keptCount) {
            m_recentMessageIDSet.erase(m_recentMessageIDs.front());
            m_recentMessageIDs.pop_front();
        }
    }
    return true;
}

} // namespace tessarin
