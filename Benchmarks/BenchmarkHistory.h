#pragma once

#include "Models/ChatThread.h"

#include <cstddef>
#include <string>

namespace tessarin
{

// Tasks as they are after days of work: prompts, thoughts, tools with what they printed, answers in Markdown.

// With that many bytes of text in its entries, or a few more.
[[nodiscard]] ChatThread taskOfBytes(std::size_t bytes);
[[nodiscard]] ChatThread taskOfEntries(std::size_t count);
// A single tool that has printed so much, in lines of about eighty bytes.
[[nodiscard]] ChatThread taskOfOneTool(std::size_t bytes);
// What counts as text: that of the entries.
[[nodiscard]] std::size_t textBytesOf(const ChatThread& task);

} // namespace tessarin
