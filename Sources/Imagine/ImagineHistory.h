#pragma once

#include "Imagine/ImagineItem.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// The JSON text of the library's history: an array of items with the keys `id`, `kind`, `prompt`, `localPath`, `fileName` and
// `createdAt`, in seconds since 2001.

// Absent for an instant that is not finite, which has no JSON text.
[[nodiscard]] std::optional<std::string> encodeImagineHistory(const std::vector<ImagineItem>& items);

// Absent when one item lacks a key, or has one of a wrong type or an unknown value: an item that is passed over would be lost with the
// next save. Keys that we don't know are passed over.
[[nodiscard]] std::optional<std::vector<ImagineItem>> decodeImagineHistory(std::string_view json);

} // namespace tessarin
