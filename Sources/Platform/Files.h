#pragma once

#include "Platform/Result.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// What a file operation failed with, in the platform's words.
struct FileError {
    std::string text;
    int code = 0; // errno, where there is one
    [[nodiscard]] const std::string& description() const { return text; }
};

// What errno says at this moment.
[[nodiscard]] FileError lastFileError();

// Bytes in shared, immutable pieces, so that a large value of which little changed is handed on without copying it.
class ByteRope
{
public:
    // A part of a text that it keeps alive.
    struct Piece {
        std::shared_ptr<const std::string> owner;
        std::string_view bytes;
    };
    // Of a copy that is exactly as large as the bytes.
    [[nodiscard]] static Piece makePiece(std::string_view bytes);

    ByteRope() = default;
    explicit ByteRope(std::string bytes);
    void append(Piece piece);
    void append(std::string bytes);
    [[nodiscard]] const std::vector<Piece>& pieces() const { return m_pieces; }
    [[nodiscard]] std::size_t size() const { return m_size; }
    [[nodiscard]] std::string joined() const;

private:
    std::vector<Piece> m_pieces;
    std::size_t m_size = 0;
};

[[nodiscard]] bool fileExists(const std::string& path); // file or folder, links followed
[[nodiscard]] bool isDirectory(const std::string& path);
[[nodiscard]] bool isExecutableFile(const std::string& path); // what the access rights say; true for folders that may be entered
[[nodiscard]] std::string homeDirectory(); // $HOME, else the account's
[[nodiscard]] std::string expandedTilde(std::string_view path, std::string_view home); // a leading "~" or "~/"
[[nodiscard]] std::string lastPathComponent(std::string_view path); // trailing "/" left out; "/" for the root
// Absolute (against the working directory), without ".", "..", empty components and a trailing "/"; links are not resolved.
[[nodiscard]] std::string standardizedPath(std::string_view path);

// All bytes of a regular file. Pipes and devices are refused: they may never end. So is a file of more bytes than the limit, whatever
// size it claims to have: those of the system claim none and may never end either.
[[nodiscard]] Result<std::string, FileError> readFile(const std::string& path, std::size_t byteLimit = SIZE_MAX - 1);
[[nodiscard]] Result<void, FileError> createDirectories(const std::string& path, unsigned mode = 0700);
// Replaces the file whole or not at all: a temporary file in the same folder, fsync, rename, fsync of the folder.
// On failure the temporary file is removed and the earlier file stays (the new one, if only the last fsync failed).
[[nodiscard]] Result<void, FileError> writeFileAtomically(const std::string& path, const ByteRope& bytes, unsigned mode = 0600);
// The same through a temporary file of a fixed name in the same folder: one that a killed writer left behind is replaced by the next
// writer, so that none pile up. Requires: one writer at a time.
[[nodiscard]] Result<void, FileError> writeFileAtomicallyThrough(
    const std::string& temporaryPath, const std::string& path, const ByteRope& bytes, unsigned mode = 0600);
// Nothing to remove is a success.
[[nodiscard]] Result<void, FileError> removeFile(const std::string& path);
// Keeps what the file holds under a second name in the same folder, so that replacing the file by writeFileAtomically loses nothing:
// by a second link, which needs no space; where links don't exist by a copy; where neither is possible by renaming it, so that the
// file is gone from its old name. Never replaces a file: `asidePath` or, where that exists, the first free of "<asidePath>-2", "-3"...
// No file, nothing to keep, is a success. On failure the file is where it was.
[[nodiscard]] Result<void, FileError> keepFileAside(const std::string& path, const std::string& asidePath);

} // namespace tessarin
