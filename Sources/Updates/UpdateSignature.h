#pragma once

#include "Platform/BackgroundWork.h"
#include "Platform/Files.h"
#include "Platform/OpenedFile.h"
#include "Platform/Result.h"
#include "Updates/ReleaseStatement.h"
#include "Updates/UpdateKey.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace tessarin
{

// Why an archive is not to be trusted.
struct UpdateSignatureError {
    std::string text;
    [[nodiscard]] const std::string& description() const { return text; }
};

// The bytes of an archive whose signature was found good. Only UpdateSignature makes one, and what installs takes nothing else: so what
// is installed are the bytes that were verified, whatever becomes of the file that they were read from.
class VerifiedArchive
{
public:
    [[nodiscard]] const ByteRope& bytes() const { return m_bytes; }

private:
    friend class UpdateSignature;
    explicit VerifiedArchive(std::string bytes) : m_bytes(std::move(bytes)) { }

    ByteRope m_bytes;
};

// Holds a downloaded archive against what its feed says of it: its length, and an Ed25519 signature (RFC 8032) over all of its bytes.
class UpdateSignature
{
public:
    // Larger ones are refused: the archive is held in memory, because mapping a file that shrinks or can't be read would end the program,
    // and the work on its signature can't be interrupted: one second for so many bytes on an old machine.
    static constexpr std::uint64_t byteLimit = std::uint64_t{ 512 } * 1024 * 1024;

    // Whether an archive of which this is stated can verify at all, so that what can't need not be fetched: the program has a key, the
    // feed states a length within the limit and a signature that has the form of one, and all that it states is signed by this key.
    [[nodiscard]] static Result<void, UpdateSignatureError> mayVerify(const ReleaseStatement& stated, const std::optional<UpdateKey>& key);
    // Reads the file once. Refused is also what differs from its stated length, and what the signature is not good for: exactly these
    // bytes under this key. Blocks while the disk and the processor work; any thread. Gives up reading when `isToEnd` says so, which is
    // asked between the pieces: what may still be waited for then is the work on the signature, once all has been read.
    [[nodiscard]] static Result<VerifiedArchive, UpdateSignatureError> verify(const OpenedFile& file, const ReleaseStatement& stated,
        const std::optional<UpdateKey>& key, const std::function<bool()>& isToEnd = isBackgroundWorkEnding);
};

} // namespace tessarin
