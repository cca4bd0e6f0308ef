#include "Updates/UpdateSignature.h"

#include "Updates/StrictBase64.h"

#include <openssl/err.h>
#include <openssl/evp.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string_view>

namespace tessarin
{

namespace
{

constexpr std::size_t signatureByteCount = 64;
constexpr std::size_t pieceSize = std::size_t{ 4 } * 1024 * 1024;

struct KeyDeleter {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct ContextDeleter {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

const unsigned char* bytesOf(std::string_view text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

bool isGood(std::string_view message, std::string_view signature, const UpdateKey& key)
{
    const std::unique_ptr<EVP_PKEY, KeyDeleter> publicKey(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, key.bytes.data(), key.bytes.size()));
    const std::unique_ptr<EVP_MD_CTX, ContextDeleter> context(EVP_MD_CTX_new());
    const bool isGood = publicKey && context && EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, publicKey.get()) == 1
        && EVP_DigestVerify(context.get(), bytesOf(signature), signature.size(), bytesOf(message), message.size()) == 1;
    ERR_clear_error(); // so that a later call of the library does not report what went wrong here
    return isGood;
}

Failure<UpdateSignatureError> refused(const std::string& reason)
{
    return { UpdateSignatureError{ "The update was not installed. " + reason } };
}

// All bytes of a file of this length, in pieces, so that nobody who ends it waits for a slow disk.
Result<std::string, UpdateSignatureError> bytesOfFile(const OpenedFile& file, std::size_t length, const std::function<bool()>& isToEnd)
{
    if (file.size() != length) {
        return refused("It is not as large as its feed says.");
    }
    std::string bytes;
    try {
        bytes.reserve(length);
    } catch (const std::bad_alloc&) {
        return refused("There is not enough memory to verify it.");
    }
    while (bytes.size() < length && !isToEnd()) {
        const std::size_t start = bytes.size();
        const std::size_t count = std::min(pieceSize, length - start);
        bytes.resize(start + count);
        if (const auto read = file.read(start, bytes.data() + start, count); !read) {
            return refused("It can't be read: " + read.error().description() + ".");
        }
    }
    if (isToEnd()) {
        return refused("It was given up.");
    }
    return bytes;
}

} // namespace

Result<void, UpdateSignatureError> UpdateSignature::mayVerify(const ReleaseStatement& stated, const std::optional<UpdateKey>& key)
{
    if (!key) {
        return refused("This build of tessarin has no key to verify updates with.");
    }
    if (stated.archiveSignature.empty() || stated.signature.empty()) {
        return refused("It is not signed.");
    }
    const auto signature = bytesFromBase64(stated.signature, signatureByteCount);
    if (!signature || !bytesFromBase64(stated.archiveSignature, signatureByteCount)) {
        return refused("Its signature is not valid.");
    }
    if (!stated.length || *stated.length == 0) {
        return refused("Its feed does not say how large it is.");
    }
    if (*stated.length > byteLimit) {
        return refused("It is too large.");
    }
    const auto text = stated.text();
    if (!text || !isGood(*text, *signature, *key)) {
        return refused("Its signature is not valid.");
    }
    return {};
}

Result<VerifiedArchive, UpdateSignatureError> UpdateSignature::verify(
    const OpenedFile& file, const ReleaseStatement& stated, const std::optional<UpdateKey>& key, const std::function<bool()>& isToEnd)
{
    if (const auto may = mayVerify(stated, key); !may) {
        return Failure{ may.error() };
    }
    auto read = bytesOfFile(file, static_cast<std::size_t>(*stated.length), isToEnd);
    if (!read) {
        return Failure{ read.error() };
    }
    const auto signature = bytesFromBase64(stated.archiveSignature, signatureByteCount);
    if (!signature || !isGood(read.value(), *signature, *key)) {
        return refused("Its signature is not valid.");
    }
    return VerifiedArchive(std::move(read).value());
}

} // namespace tessarin
