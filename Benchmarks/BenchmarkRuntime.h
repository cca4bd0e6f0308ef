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
// How a text stands: in lines of about eighty bytes, or as a single one.
enum class TextShape { lines, line };
// The input of the tool in an update: a command and its output, of which each update is another one. In lines it ends otherwise. In a
// single line, as it is when a runtime sends it as one text, it is cut off at the front and goes on at the end, so that all of it moves.
[[nodiscard]] JsonObject stormInput(std::size_t update, TextShape shape);

// A single line, half of which is one word.
[[nodiscard]] std::string lineOf(std::size_t bytes);
// Markdown of about that size, as agents write it: headings, paragraphs, lists, tables, code.
[[nodiscard]] std::string markdownOf(std::size_t bytes);

// The part of the runtime: a benchmark that is started as Grok is. Call it first in main; absent when this process is no runtime, else its
// status. It answers the prompt "stream 9" with nine chunks of Markdown at their pace, "line 9" and "code 9" with those of a single line,
// as it stands and in a fence, "storm lines 9" and "storm line 9" with nine updates of one tool at theirs, and "wait 9" with nine seconds
// of silence.
[[nodiscard]] std::optional<int> playBenchmarkRuntime(int argc, char** argv);

} // namespace tessarin
