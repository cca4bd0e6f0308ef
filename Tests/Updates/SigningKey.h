#pragma once

#include "Updates/ReleaseStatement.h"
#include "Updates/UpdateKey.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct evp_pkey_st;

namespace tessarin
{

// The secret half of a key, as the publisher of releases has it; a new one each time.
class SigningKey
{
public:
    SigningKey();
    // Of the 32 bytes that RFC 8032 calls the secret key, in Base64.
    [[nodiscard]] static SigningKey ofSecret(const std::string& secret);

    [[nodiscard]] std::string publicKey() const; // Base64
    [[nodiscard]] std::optional<UpdateKey> updateKey() const { return UpdateKey::fromBase64(publicKey()); }
    [[nodiscard]] std::string signatureOf(std::string_view bytes) const; // Base64
    // The statement with its signature.
    [[nodiscard]] ReleaseStatement signedStatement(ReleaseStatement statement) const;
    // One of an archive for Linux, with all that is stated of it right.
    [[nodiscard]] ReleaseStatement statementOf(std::string_view archive, const std::string& version = "2.0") const;

private:
    std::shared_ptr<evp_pkey_st> m_key;
};

} // namespace tessarin
