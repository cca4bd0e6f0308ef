#pragma once

#include "Platform/Json.h"

#include <string>
#include <vector>

// Finds the files that a runtime says it has made, whatever shape its update has: anything in it that looks like the absolute path of a
// media file. Whether there is such a file is not looked at. Any thread; the time grows with the length of the texts and nothing else.
namespace tessarin::ImagineMediaExtractor
{

// How many texts may stand in one another as JSON for what they hold to be found. Each level is read once more than the one around it, so
// that without a limit a text made for the purpose would take minutes.
inline constexpr int textDepthLimit = 16;

// What looks like a path in any text of the value, sorted by bytes, each once. Keys are not looked at. A text that is itself a JSON array
// or object, of the depth that our reader allows, is looked at as it is, and as the value that it stands for: a path may be escaped there.
//
// A path is what this matches without regard to case (of ASCII letters; no other letter is a variant of one of these):
//   /(?:[^\n\r\"']+?)\.(?:jpe?g|png|webp|gif|mp4|mov|m4v|webm)
// It begins with the first slash, may hold blanks and ends with the first extension, even where the name goes on.
[[nodiscard]] std::vector<std::string> paths(const Json& value);
[[nodiscard]] std::vector<std::string> paths(const JsonObject& update);

} // namespace tessarin::ImagineMediaExtractor
