#pragma once

#include "Platform/Files.h"
#include "Platform/Result.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tessarin
{

enum class RemoteCryptoError {
    invalidKey,
    invalidFrame,
    oversizedFrame,
};
// For logs; no person and no device reads it.
[[nodiscard]] std::string_view description(RemoteCryptoError error);

// What the cryptographic library says: a payload that was sealed with another key or altered, or no random bytes.
struct CryptoLibraryError {
    std::string text;
    bool operator==(const CryptoLibraryError&) const = default;
};

using RemoteCryptoFailure = std::variant<RemoteCryptoError, CryptoLibraryError>;

// The whole security of the remote host: turns one serialized message into one encrypted frame, and back, with the one key that a device
// got when it was paired. A frame is, with nothing between one and the next:
//
//   4 bytes   how many bytes follow, big-endian
//   12 bytes  nonce, random and new for each frame
//   n bytes   the message, encrypted with AES-256-GCM, without associated data
//   16 bytes  tag
//
// Any thread. Keeps nothing but what the library needs at hand on each thread: random bytes for the next nonces, and what it made of the
// key of the last call. A frame is built and opened whole in memory.
namespace RemoteCrypto
{

inline constexpr std::size_t keyByteCount = 32;
// Of nonce, ciphertext and tag together.
inline constexpr std::size_t maximumFrameSize = 16 * 1024 * 1024;
inline constexpr std::size_t lengthByteCount = 4;
inline constexpr std::size_t nonceByteCount = 12;
inline constexpr std::size_t tagByteCount = 16;
// Of a message.
inline constexpr std::size_t maximumPlaintextSize = maximumFrameSize - nonceByteCount - tagByteCount;

// A new random key.
[[nodiscard]] Result<std::string, RemoteCryptoFailure> makeKey();

// A complete frame. Fails with invalidKey before anything is encrypted, and with oversizedFrame.
[[nodiscard]] Result<std::string, RemoteCryptoFailure> seal(std::string_view plaintext, std::string_view keyData);
// The same of a message in pieces, which need not be joined first.
[[nodiscard]] Result<std::string, RemoteCryptoFailure> seal(const ByteRope& plaintext, std::string_view keyData);
// The same without a copy: of a frame in which only the message stands, behind room for length and nonce and before room for the tag.
[[nodiscard]] Result<void, RemoteCryptoFailure> sealInPlace(std::string& frame, std::string_view keyData);
// The message in what follows the length bytes of a frame. Fails with invalidKey, which is looked at first, with invalidFrame for a payload
// that is too short or too long, and with the library's error when it is not what was sealed with this key.
[[nodiscard]] Result<std::string, RemoteCryptoFailure> open(std::string_view payload, std::string_view keyData);
// How many bytes follow the four of `header`. Fails with invalidFrame for more or less than four bytes, with oversizedFrame for a length
// that is beyond the limit or zero.
[[nodiscard]] Result<std::size_t, RemoteCryptoError> frameLength(std::string_view header);

// The key as text: Base64 (RFC 4648) with `-` and `_` for `+` and `/`, and no padding.
[[nodiscard]] std::string base64URL(std::string_view data);
// Absent for text that is no Base64 of either alphabet.
[[nodiscard]] std::optional<std::string> dataFromBase64URL(std::string_view text);

} // namespace RemoteCrypto

} // namespace tessarin
