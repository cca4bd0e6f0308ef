#pragma once

#include "Platform/Json.h"

#include <cstddef>
#include <optional>
#include <string>

namespace tessarin
{

// How much a chunk of an answer holds, two or three tokens, and how many come in a second.
constexpr std::size_t chunkBytes = 10;
constexpr double chunksPerSecond = 1000;

// How much a tool has printed whose text comes whole with each update, and how many come in a second: ten times as many as of the runtimes
// that do so.
constexpr std::size_t stormBytes = 150'000;
constexpr double stormUpdatesPerSecond = 100;
constexpr const char* stormCall = "storm"; // the id of the tool call
// The input of the tool in an update: a command and its lines, the last of which is another one each time.
[[nodiscard]] JsonObject stormInput(std::size_t update);

// Markdown of about that size, as agents write it: headings, paragraphs, lists, tables, code.
[[nodiscard]] std::string markdownOf(std::size_t bytes);

// The part of the runtime: a benchmark that is started as Grok is. Call it first in main; absent when this process is no runtime, else its
// status. It answers the prompt "stream 9" with nine chunks of Markdown at their pace, "storm 9" with nine updates of one
// tool at theirs, and "wait 9" with nine seconds of silence.
[[nodiscard]] std::optional<int> playBenchmarkRuntime(int argc, char** argv);

} // namespace tessarin
