#include "SigningKey.h"

#include <openssl/evp.h>

#include <array>
#include <utility>

namespace tessarin
{

namespace
{

const unsigned char* bytesOf(std::string_view text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string base64Of(const unsigned char* bytes, std::size_t count)
{
    std::string text((count + 2) / 3 * 4 + 1, '\0');
    text.resize(static_cast<std::size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes, static_cast<int>(count))));
    return text;
}

} // namespace

SigningKey::SigningKey() : m_key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"), EVP_PKEY_free) { }

SigningKey SigningKey::ofSecret(const std::string& secret)
{
    std::array<unsigned char, 33> bytes{}; // of which the padding makes the last
    EVP_DecodeBlock(bytes.data(), bytesOf(secret), static_cast<int>(secret.size()));
    SigningKey key;
    key.m_key.reset(EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, bytes.data(), bytes.size() - 1), EVP_PKEY_free);
    return key;
}

std::string SigningKey::publicKey() const
{
    std::array<unsigned char, UpdateKey::byteCount> bytes{};
    std::size_t count = bytes.size();
    EVP_PKEY_get_raw_public_key(m_key.get(), bytes.data(), &count);
    return base64Of(bytes.data(), count);
}

std::string SigningKey::signatureOf(std::string_view bytes) const
{
    std::array<unsigned char, 64> signature{};
    std::size_t count = signature.size();
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, m_key.get());
    EVP_DigestSign(context.get(), signature.data(), &count, bytesOf(bytes), bytes.size());
    return base64Of(signature.data(), count);
}

ReleaseStatement SigningKey::signedStatement(ReleaseStatement statement) const
{
    statement.signature = signatureOf(statement.text().value());
    return statement;
}

ReleaseStatement SigningKey::statementOf(std::string_view archive, const std::string& version) const
{
    return signedStatement({ version, "", "linux", archive.size(), signatureOf(archive), "" });
}

} // namespace tessarin
