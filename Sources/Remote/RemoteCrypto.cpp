#include "Remote/RemoteCrypto.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <memory>

namespace tessarin
{

namespace
{

constexpr std::size_t overhead = RemoteCrypto::nonceByteCount + RemoteCrypto::tagByteCount;

struct ContextDeleter {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter>;

unsigned char* bytes(char* text)
{
    return reinterpret_cast<unsigned char*>(text);
}

const unsigned char* bytes(const char* text)
{
    return reinterpret_cast<const unsigned char*>(text);
}

// The library tells nothing of a tag that does not fit.
Failure<RemoteCryptoFailure> libraryFailure()
{
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    if (code == 0)
        return { CryptoLibraryError{ "authentication failed" } };
    std::array<char, 256> text{};
    ERR_error_string_n(code, text.data(), text.size());
    return { CryptoLibraryError{ text.data() } };
}

bool encrypt(std::string_view plaintext, std::string_view key, const char* nonce, char* ciphertext, char* tag)
{
    const Context context(EVP_CIPHER_CTX_new());
    int length = 0;
    return context && EVP_EncryptInit_ex2(context.get(), EVP_aes_256_gcm(), bytes(key.data()), bytes(nonce), nullptr) == 1
        && EVP_EncryptUpdate(context.get(), bytes(ciphertext), &length, bytes(plaintext.data()), static_cast<int>(plaintext.size())) == 1
        && EVP_EncryptFinal_ex(context.get(), bytes(tag), &length) == 1
        && EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, static_cast<int>(RemoteCrypto::tagByteCount), tag) == 1;
}

bool decrypt(std::string_view ciphertext, std::string_view key, const char* nonce, std::string& tag, char* plaintext)
{
    const Context context(EVP_CIPHER_CTX_new());
    int length = 0;
    return context && EVP_DecryptInit_ex2(context.get(), EVP_aes_256_gcm(), bytes(key.data()), bytes(nonce), nullptr) == 1
        && EVP_DecryptUpdate(context.get(), bytes(plaintext), &length, bytes(ciphertext.data()), static_cast<int>(ciphertext.size())) == 1
        && EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, static_cast<int>(tag.size()), tag.data()) == 1
        && EVP_DecryptFinal_ex(context.get(), bytes(plaintext) + ciphertext.size(), &length) == 1;
}

void writeLength(std::size_t length, char* header)
{
    for (std::size_t place = RemoteCrypto::lengthByteCount; place-- > 0; length >>= 8U)
        header[place] = static_cast<char>(length & 0xFFU);
}

// Fills in what belongs around the message. The message may stand where it goes.
Result<void, RemoteCryptoFailure> sealInto(std::string& frame, std::string_view plaintext, std::string_view keyData)
{
    char* const nonce = frame.data() + RemoteCrypto::lengthByteCount;
    char* const ciphertext = nonce + RemoteCrypto::nonceByteCount;
    writeLength(frame.size() - RemoteCrypto::lengthByteCount, frame.data());
    if (RAND_bytes(bytes(nonce), static_cast<int>(RemoteCrypto::nonceByteCount)) != 1
        || !encrypt(plaintext, keyData, nonce, ciphertext, ciphertext + plaintext.size())) {
        return libraryFailure();
    }
    return {};
}

bool isBase64Character(char character)
{
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9')
        || character == '+' || character == '/';
}

} // namespace

std::string_view description(RemoteCryptoError error)
{
    switch (error) {
    case RemoteCryptoError::invalidKey:
        return "The remote pairing key is invalid.";
    case RemoteCryptoError::invalidFrame:
        return "The encrypted remote message is invalid.";
    case RemoteCryptoError::oversizedFrame:
        return "The remote message is too large.";
    }
    return {};
}

namespace RemoteCrypto
{

Result<std::string, RemoteCryptoFailure> makeKey()
{
    std::string key(keyByteCount, '\0');
    if (RAND_priv_bytes(bytes(key.data()), static_cast<int>(key.size())) != 1)
        return libraryFailure();
    return key;
}

Result<std::string, RemoteCryptoFailure> seal(std::string_view plaintext, std::string_view keyData)
{
    if (keyData.size() != keyByteCount)
        return Failure{ RemoteCryptoFailure(RemoteCryptoError::invalidKey) };
    const std::size_t length = plaintext.size() + overhead;
    // What would be too large once it is encrypted need not be encrypted first.
    if (length > maximumFrameSize)
        return Failure{ RemoteCryptoFailure(RemoteCryptoError::oversizedFrame) };
    std::string frame(lengthByteCount + length, '\0');
    const auto sealed = sealInto(frame, plaintext, keyData);
    if (!sealed) {
        return Failure{ sealed.error() };
    }
    return frame;
}

Result<void, RemoteCryptoFailure> sealInPlace(std::string& frame, std::string_view keyData)
{
    if (keyData.size() != keyByteCount) {
        return Failure{ RemoteCryptoFailure(RemoteCryptoError::invalidKey) };
    }
    assert(frame.size() >= lengthByteCount + overhead);
    const std::size_t length = frame.size() - lengthByteCount;
    if (length > maximumFrameSize) {
        return Failure{ RemoteCryptoFailure(RemoteCryptoError::oversizedFrame) };
    }
    return sealInto(frame, std::string_view(frame).substr(lengthByteCount + nonceByteCount, length - overhead), keyData);
}

Result<std::string, RemoteCryptoFailure> open(std::string_view payload, std::string_view keyData)
{
    if (keyData.size() != keyByteCount)
        return Failure{ RemoteCryptoFailure(RemoteCryptoError::invalidKey) };
    if (payload.size() < overhead || payload.size() > maximumFrameSize)
        return Failure{ RemoteCryptoFailure(RemoteCryptoError::invalidFrame) };
    std::string tag(payload.substr(payload.size() - tagByteCount));
    const std::string_view ciphertext = payload.substr(nonceByteCount, payload.size() - overhead);
    std::string plaintext(ciphertext.size(), '\0');
    if (!decrypt(ciphertext, keyData, payload.data(), tag, plaintext.data()))
        return libraryFailure();
    return plaintext;
}

Result<std::size_t, RemoteCryptoError> frameLength(std::string_view header)
{
    if (header.size() != lengthByteCount)
        return Failure{ RemoteCryptoError::invalidFrame };
    std::size_t length = 0;
    for (const char byte : header)
        length = length << 8U | static_cast<unsigned char>(byte);
    if (length == 0 || length > maximumFrameSize)
        return Failure{ RemoteCryptoError::oversizedFrame };
    return length;
}

std::string base64URL(std::string_view data)
{
    std::string text((data.size() + 2) / 3 * 4 + 1, '\0'); // with the zero byte that the library adds
    const int length = EVP_EncodeBlock(bytes(text.data()), bytes(data.data()), static_cast<int>(data.size()));
    text.resize(static_cast<std::size_t>(length));
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    text.erase(std::find(text.begin(), text.end(), '='), text.end());
    return text;
}

std::optional<std::string> dataFromBase64URL(std::string_view text)
{
    std::string standard(text);
    std::replace(standard.begin(), standard.end(), '-', '+');
    std::replace(standard.begin(), standard.end(), '_', '/');
    standard.append((4 - standard.size() % 4) % 4, '=');
    const auto isLetter = std::find_if_not(standard.begin(), standard.end(), isBase64Character);
    const auto padding = static_cast<std::size_t>(standard.end() - isLetter);
    // The library takes padding for letters, and passes over blanks at both ends.
    if (padding > 2 || !std::all_of(isLetter, standard.end(), [](char character) { return character == '='; }))
        return std::nullopt;
    std::string data(standard.size() / 4 * 3, '\0');
    EVP_DecodeBlock(bytes(data.data()), bytes(standard.data()), static_cast<int>(standard.size()));
    data.resize(data.size() - padding);
    return data;
}

} // namespace RemoteCrypto

} // namespace tessarin
