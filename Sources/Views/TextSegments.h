#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// Cuts a growing Markdown text at places where what comes before can no longer change: before a line at the left edge that follows an
// empty line and stands in no fence. Only what stands behind the last cut has to be parsed again when the text grows.
// What has no such place is cut by force, so that the open part stays small: a long fence after some of its lines, anything else
// at a line end, at a blank or in the middle of a word. A plain text is cut by force alone. A line that is cut shares no segment with
// another line, but for the opening of its fence and, outside a fence, for what follows it in its paragraph.
// The cuts of a text do not depend on the steps in which it grew.
class TextSegments
{
public:
    enum class Format { markdown, plain };

    // The open part is cut by force above this size.
    static constexpr std::size_t openByteLimit = 8192;
    // A line of more than twice as much is cut into pieces of about this size. All of the last piece is laid out again with each letter
    // that comes, and a piece that can't be wrapped is laid out as a whole where only its begin is seen.
    static constexpr std::size_t lineByteLimit = 2048;
    // Link definitions beyond these are known to their own segment alone.
    static constexpr std::size_t definitionByteLimit = 16384;

    explicit TextSegments(Format format) : m_format(format) { }

    // The text as it is now. Requires: it begins with the text of the last call.
    void scan(std::string_view text);
    // Where the segments so far begin, each of which reaches to the next one; the last one is open. Never empty.
    [[nodiscard]] const std::vector<std::size_t>& begins() const { return m_begins; }
    // The opening line of the fence in which a segment begins, with its line end; empty outside.
    [[nodiscard]] std::string_view fenceOpening(std::size_t segment) const;
    // The lines that define the targets of links, for all segments.
    [[nodiscard]] const std::string& definitions() const { return m_definitions; }

private:
    void skipFullSegments(std::string_view text);
    void scanLine(std::string_view line, std::size_t begin);
    void scanFenced(std::string_view line);
    void scanAtLeftEdge(std::string_view line, std::size_t begin, bool followsEmptyLine);
    void noteDefinition(std::string_view line);
    void cutLongLine(std::string_view text, std::size_t lineBegin);
    void cutBehindLongLine(std::string_view text);
    void cut(std::size_t at);
    void cutByForce(std::size_t at);

    struct Fence {
        char character = 0; // 0 outside a fence
        std::size_t length = 0;
        bool isInList = false;
        std::string opening;
    };

    Format m_format;
    std::string m_definitions;
    std::vector<std::size_t> m_begins{ 0 };
    std::map<std::size_t, std::string> m_fenceOpenings; // of the segments that begin in a fence, which are few
    std::size_t m_scanned = 0; // the begin of the first line that is not complete
    Fence m_fence;
    std::size_t m_fenceBegin = 0; // the first line in the last fence
    bool m_followsLongLine = false; // one that was cut and shares its last segment with no other
    bool m_followsEmptyLine = false;
    bool m_isInList = false; // since the last cut at the left edge
    char m_orderedDelimiter = 0; // of the ordered list at the left edge since then, 0 without one
};

} // namespace tessarin
