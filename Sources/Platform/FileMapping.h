#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tessarin
{

// The bytes of a file where they stand on the disk: they take memory only while they are being read. They stay when the file is replaced
// or removed, as long as this object lives. Hand them to the system, which answers with an error when the disk fails or somebody has cut
// the file; reading them oneself would end the program then. Any thread.
class FileMapping
{
public:
    // Null when the file can't be mapped, is empty, or does not hold exactly these bytes.
    [[nodiscard]] static std::shared_ptr<const FileMapping> ofSameBytes(const std::string& path, std::string_view bytes);

    ~FileMapping();
    FileMapping(const FileMapping&) = delete;
    FileMapping& operator=(const FileMapping&) = delete;

    [[nodiscard]] std::string_view bytes() const { return m_bytes; }
    // False once somebody has written into the file. Being replaced as a whole does not count.
    [[nodiscard]] bool isUnchanged() const;
    // Gives the memory back that reading has taken.
    void release() const;

private:
    struct Stamp {
        std::int64_t seconds = 0; // of the last change
        std::int64_t nanoseconds = 0;
        std::int64_t size = 0;
        bool operator==(const Stamp&) const = default;
    };
    FileMapping(int descriptor, std::string_view bytes, Stamp stamp) : m_descriptor(descriptor), m_bytes(bytes), m_stamp(stamp) { }
    [[nodiscard]] static Stamp stampOf(int descriptor);

    const int m_descriptor;
    const std::string_view m_bytes;
    const Stamp m_stamp;
};

} // namespace tessarin
