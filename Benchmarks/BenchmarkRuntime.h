#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace tessarin
{

// How much a chunk of an answer holds, two or three tokens, and how many come in a second.
constexpr std::size_t chunkBytes = 10;
constexpr double chunksPerSecond = 1000;

// Markdown of about that size, as agents write it: headings, paragraphs, lists, tables, code.
[[nodiscard]] std::string markdownOf(std::size_t bytes);

// The part of the runtime: a benchmark that is started as Grok is. Call it first in main; absent when this process is no runtime, else its
// status. It answers the prompt "stream 9" with nine chunks of Markdown at their pace, and "wait 9" with nine seconds of silence.
[[nodiscard]] std::optional<int> playBenchmarkRuntime(int argc, char** argv);

} // namespace tessarin
