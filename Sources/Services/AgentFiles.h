#pragma once

#include "Platform/Json.h"
#include "Platform/Result.h"
#include "Services/AgentError.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The files that an agent reads and writes through its client. Relative paths are taken against this process's working directory. Any
// thread; blocks while the disk works. Failures carry the texts that go to the agent: the platform's own for files.
namespace tessarin::AgentFiles
{

// Larger files are refused as the platform refuses what is too large: their text goes through memory several times.
inline constexpr std::size_t readLimit = std::size_t{ 256 } * 1024 * 1024;

// `fs/read_text_file`: `path`, and optionally the first `line`, counted from 1, and the `limit` of lines. The result is `content`.
// Reading is not confined to the project, on purpose. Pipes and devices are refused, because reading them may never end.
[[nodiscard]] Result<JsonObject, ACPClientError> readTextFile(const JsonObject& params);

// `fs/write_text_file`: `path` and `content`; the result is empty. Allowed inside the project only, by the standardised path: links
// are not followed for that question, so a link inside the project may lead out of it. Folders that are missing are made. The file is
// replaced whole or not at all and keeps its access rights; a link stays a link and what it leads to is replaced.
[[nodiscard]] Result<JsonObject, ACPClientError> writeTextFile(const JsonObject& params, const std::string& workspacePath);

// Whether a path may be written in a project.
[[nodiscard]] bool isInsideProject(std::string_view path, std::string_view workspacePath);

// The lines from `firstLine`, counted from 1, joined by LF; at most `limit` of them when it is given. A line ends at each single
// newline character, so CR LF ends two.
[[nodiscard]] std::string lines(std::string_view text, std::int64_t firstLine, std::optional<std::int64_t> limit);

} // namespace tessarin::AgentFiles
