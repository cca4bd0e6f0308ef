#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace tessarin
{

// Cuts a stream of bytes into lines that end with one byte 0x0A. A line may come in any number of chunks and be of any length; its
// cost is linear in its length, because only the new chunk is searched. Empty lines are skipped; a carriage return stays.
class LineReader
{
public:
    // Calls `handle(std::string_view line)` for each line that `chunk` completes, in order, without the newline. A line that lies whole
    // in the chunk is passed where it lies. The text lives as long as the call.
    template <class Handler>
    void read(std::string_view chunk, Handler handle)
    {
        for (auto end = chunk.find('\n'); end != std::string_view::npos; end = chunk.find('\n')) {
            const std::string_view piece = chunk.substr(0, end);
            chunk.remove_prefix(end + 1);
            if (m_beginning.empty())
                pass(piece, handle);
            else
                finish(piece, handle);
        }
        m_beginning.append(chunk);
    }

    // Forgets the line that has begun.
    void reset() { m_beginning.clear(); }

private:
    template <class Handler>
    static void pass(std::string_view line, Handler& handle)
    {
        if (!line.empty())
            handle(line);
    }
    template <class Handler>
    void finish(std::string_view piece, Handler& handle)
    {
        const std::string line = std::exchange(m_beginning, {}).append(piece);
        pass(line, handle);
    }

    std::string m_beginning; // of the line whose newline has not come yet
};

} // namespace tessarin
