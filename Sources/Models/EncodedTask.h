#pragma once

#include "Models/ChatThread.h"
#include "Platform/Files.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// The stored bytes of one task, in pieces that outlive changes elsewhere in it.
class EncodedTask
{
public:
    // Some entries one after another.
    struct Segment {
        ByteRope::Piece bytes; // each entry but the task's first one with the comma before it
        std::size_t end = 0; // index behind the last entry
    };

    EncodedTask() = default;
    // Entries whose bytes are there already; update comes next all the same.
    explicit EncodedTask(std::vector<Segment> segments) : m_segments(std::move(segments)) { }

    // Brings the pieces up to date when the entries before `firstChanged` are as they were.
    // False for a record that can't be encoded; the object is then of no use.
    [[nodiscard]] bool update(const ChatThread& thread, std::size_t firstChanged);

    // The bytes that stand in the first text stand in the second one too, at the same places: from now on they are taken from there.
    void takeFrom(
        const std::shared_ptr<const std::string>& before, const std::shared_ptr<const std::string>& owner, std::string_view bytes);

    void appendTo(ByteRope& rope) const;
    // How many entries have bytes here.
    [[nodiscard]] std::size_t entryCount() const { return m_segments.empty() ? 0 : m_segments.back().end; }

    // Segments are about this long: short enough that encoding one anew is nothing, long enough that 100 MB are few pieces.
    static constexpr std::size_t segmentSize = 65536;

    std::uint64_t lastRound = 0; // of its owner, the last one in which the task was there

private:
    void dropSegments(const ChatThread& thread, std::size_t firstChanged);
    [[nodiscard]] bool appendSegments(const ChatThread& thread);

    ByteRope::Piece m_opening;
    std::vector<Segment> m_segments;
    ByteRope::Piece m_closing;
};

} // namespace tessarin
