#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessarin
{

// What a runtime speaks: the Agent Client Protocol, Codex's app-server, Claude Code's streaming mode.
enum class IngestDialect { acp, codex, claude };

// What a busy runtime writes in one turn, the same for every reader that is measured: lines of about 225 bytes, mostly pieces of the
// answer, some of the reasoning, a few tool calls with what follows on them.
struct IngestStream {
    IngestDialect dialect = IngestDialect::acp;
    // Lines, each with its newline.
    std::string bytes;

    // What a task holds after it.
    std::size_t updates = 0;
    std::size_t entries = 0;
    std::size_t textBytes = 0; // of the messages and thoughts
    std::size_t firstPieceBytes = 0; // of these, in the first line

    [[nodiscard]] static IngestStream make(IngestDialect dialect, std::size_t updates);
};

// Plays a runtime on the standard streams until the input closes: answers the handshake, writes one update for the first prompt, so
// that everything is warm, and the whole stream for each later one.
int playIngestRuntime(const IngestStream& stream);

inline constexpr std::string_view ingestSession = "0b8ef1b2-3f3c-4d6a-9a57-6d0f1c2b3a49";
inline constexpr std::string_view ingestTurn = "01a1fa3a-1ef6-7611-b59d-bf76e901c356";

} // namespace tessarin
