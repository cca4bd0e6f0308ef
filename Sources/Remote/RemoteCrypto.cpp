#include "Remote/RemoteCrypto.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <memory>
#include <utility>

namespace tessarin
{

namespace
{

constexpr std::size_t overhead = RemoteCrypto::nonceByteCount + RemoteCrypto::tagByteCount;
constexpr std::size_t messageOffset = RemoteCrypto::lengthByteCount + RemoteCrypto::nonceByteCount;

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

// So much is transformed at a time: room for it has to be cleared first, which costs least while it is still at hand afterwards.
constexpr std::size_t stride = 16 * 1024;

// Looked up once: that costs as much as a short message.
const EVP_CIPHER* cipher()
{
    static const EVP_CIPHER* const fetched = EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr);
    return fetched;
}

struct ContextDeleter {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

EVP_CIPHER_CTX* makeContext()
{
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    if (context && EVP_CipherInit_ex2(context, cipher(), nullptr, nullptr, 1, nullptr) == 1) {
        return context;
    }
    EVP_CIPHER_CTX_free(context);
    return nullptr;
}

// The context of the thread, which is made once: that costs as much as a short message. What the library makes of a key stays in it until
// the next one is used. Null when the library can't. One use at a time on each thread.
EVP_CIPHER_CTX* beginCipher(std::string_view key, const char* nonce, bool encrypts)
{
    thread_local const std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter> context(makeContext());
    const bool isBegun
        = context && EVP_CipherInit_ex2(context.get(), nullptr, bytes(key.data()), bytes(nonce), encrypts ? 1 : 0, nullptr) == 1;
    return isBegun ? context.get() : nullptr;
}

// Encrypts or decrypts. Both places may be the same.
bool transform(EVP_CIPHER_CTX* context, const char* from, char* to, std::size_t size)
{
    int length = 0;
    return EVP_CipherUpdate(context, bytes(to), &length, bytes(from), static_cast<int>(size)) == 1;
}

// Appends to a text what is encrypted or decrypted. Pieces may be as short as a bracket; such ones are transformed together.
class TransformedText
{
public:
    TransformedText(EVP_CIPHER_CTX* context, std::string& text) : m_context(context), m_text(text), m_transformed(text.size()) { }

    [[nodiscard]] bool append(std::string_view piece)
    {
        while (!piece.empty()) {
            const std::string_view part = piece.substr(0, stride - (m_text.size() - m_transformed));
            piece.remove_prefix(part.size());
            if (!(part.size() == stride ? transformInto(part) : gather(part))) {
                return false;
            }
        }
        return true;
    }
    [[nodiscard]] bool transformRest()
    {
        const std::size_t start = std::exchange(m_transformed, m_text.size());
        return transform(m_context, m_text.data() + start, m_text.data() + start, m_text.size() - start);
    }

private:
    bool transformInto(std::string_view part)
    {
        m_text.resize(m_text.size() + part.size());
        const std::size_t start = std::exchange(m_transformed, m_text.size());
        return transform(m_context, part.data(), m_text.data() + start, part.size());
    }
    bool gather(std::string_view part)
    {
        m_text += part;
        return m_text.size() - m_transformed < stride || transformRest();
    }

    EVP_CIPHER_CTX* m_context;
    std::string& m_text;
    std::size_t m_transformed; // so much of the text
};

bool writeTag(EVP_CIPHER_CTX* context, char* tag)
{
    int length = 0;
    return EVP_CipherFinal_ex(context, bytes(tag), &length) == 1
        && EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_AEAD_GET_TAG, static_cast<int>(RemoteCrypto::tagByteCount), tag) == 1;
}

bool hasTag(EVP_CIPHER_CTX* context, std::string_view expected)
{
    std::array<char, RemoteCrypto::tagByteCount> tag{};
    std::copy(expected.begin(), expected.end(), tag.begin());
    unsigned char none = 0;
    int length = 0;
    return EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_AEAD_SET_TAG, static_cast<int>(tag.size()), tag.data()) == 1
        && EVP_CipherFinal_ex(context, &none, &length) == 1;
}

// Random bytes are fetched for many nonces at once: asking for a few costs as much as a short message. Nonces are no secret.
bool writeNonce(char* place)
{
    constexpr std::size_t count = 64;
    thread_local std::array<char, count * RemoteCrypto::nonceByteCount> supply;
    thread_local std::size_t left = 0; // at the front of the supply
    if (left == 0) {
        if (RAND_bytes(bytes(supply.data()), static_cast<int>(supply.size())) != 1) {
            return false;
        }
        left = supply.size();
    }
    left -= RemoteCrypto::nonceByteCount;
    std::copy_n(supply.data() + left, RemoteCrypto::nonceByteCount, place);
    return true;
}

// What stands before the message, of which so many bytes follow in all. Null when the library can't.
EVP_CIPHER_CTX* beginFrame(char* start, std::size_t length, std::string_view keyData)
{
    for (std::size_t place = RemoteCrypto::lengthByteCount, rest = length; place-- > 0; rest >>= 8U) {
        start[place] = static_cast<char>(rest & 0xFFU);
    }
    char* const nonce = start + RemoteCrypto::lengthByteCount;
    return writeNonce(nonce) ? beginCipher(keyData, nonce, true) : nullptr;
}

// What would be too large once it is encrypted need not be encrypted first.
Result<void, RemoteCryptoFailure> mayBeSealed(std::size_t length, std::string_view keyData)
{
    if (keyData.size() != RemoteCrypto::keyByteCount) {
        return Failure{ RemoteCryptoFailure(RemoteCryptoError::invalidKey) };
    }
    if (length > RemoteCrypto::maximumFrameSize) {
        return Failure{ RemoteCryptoFailure(RemoteCryptoError::oversizedFrame) };
    }
    return {};
}

// `append` appends the message, of so many bytes.
template <class Append>
Result<std::string, RemoteCryptoFailure> sealMessage(std::size_t size, std::string_view keyData, const Append& append)
{
    const std::size_t length = size + overhead;
    const auto may = mayBeSealed(length, keyData);
    if (!may) {
        return Failure{ may.error() };
    }
    std::string frame;
    frame.reserve(RemoteCrypto::lengthByteCount + length);
    frame.resize(messageOffset);
    EVP_CIPHER_CTX* const context = beginFrame(frame.data(), length, keyData);
    TransformedText text(context, frame);
    if (!context || !append(text) || !text.transformRest()) {
        return libraryFailure();
    }
    frame.resize(frame.size() + RemoteCrypto::tagByteCount);
    if (!writeTag(context, frame.data() + frame.size() - RemoteCrypto::tagByteCount)) {
        return libraryFailure();
    }
    return frame;
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
    return sealMessage(plaintext.size(), keyData, [plaintext](TransformedText& text) { return text.append(plaintext); });
}

Result<std::string, RemoteCryptoFailure> seal(const ByteRope& plaintext, std::string_view keyData)
{
    return sealMessage(plaintext.size(), keyData, [&plaintext](TransformedText& text) {
        return std::all_of(
            plaintext.pieces().begin(), plaintext.pieces().end(), [&text](const auto& piece) { return text.append(piece.bytes); });
    });
}

Result<void, RemoteCryptoFailure> sealInPlace(std::string& frame, std::string_view keyData)
{
    assert(frame.size() >= lengthByteCount + overhead);
    const std::size_t length = frame.size() - lengthByteCount;
    const auto may = mayBeSealed(length, keyData);
    if (!may) {
        return Failure{ may.error() };
    }
    EVP_CIPHER_CTX* const context = beginFrame(frame.data(), length, keyData);
    if (!context || !transform(context, frame.data() + messageOffset, frame.data() + messageOffset, length - overhead)
        || !writeTag(context, frame.data() + frame.size() - tagByteCount)) {
        return libraryFailure();
    }
    return {};
}

Result<std::string, RemoteCryptoFailure> open(std::string_view payload, std::string_view keyData)
{
    if (keyData.size() != keyByteCount) {
        return Failure{ RemoteCryptoFailure(RemoteCryptoError::invalidKey) };
    }
    if (payload.size() < overhead || payload.size() > maximumFrameSize) {
        return Failure{ RemoteCryptoFailure(RemoteCryptoError::invalidFrame) };
    }
    const std::string_view ciphertext = payload.substr(nonceByteCount, payload.size() - overhead);
    std::string plaintext;
    plaintext.reserve(ciphertext.size());
    EVP_CIPHER_CTX* const context = beginCipher(keyData, payload.data(), false);
    TransformedText text(context, plaintext);
    if (!context || !text.append(ciphertext) || !text.transformRest() || !hasTag(context, payload.substr(payload.size() - tagByteCount))) {
        return libraryFailure();
    }
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
