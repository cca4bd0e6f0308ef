#pragma once

#include <string_view>

namespace tessarin
{

// The names of the stored tree's keys, each written once for reading and writing both.
namespace WorkspaceKeys
{
inline constexpr std::string_view id = "id";
inline constexpr std::string_view name = "name";
inline constexpr std::string_view path = "path";
inline constexpr std::string_view threads = "threads";
inline constexpr std::string_view title = "title";
inline constexpr std::string_view sessionId = "sessionId";
inline constexpr std::string_view providerSessionIDs = "providerSessionIDs";
inline constexpr std::string_view lastProvider = "lastProvider";
inline constexpr std::string_view entries = "entries";
inline constexpr std::string_view createdAt = "createdAt";
inline constexpr std::string_view updatedAt = "updatedAt";
inline constexpr std::string_view kind = "kind";
inline constexpr std::string_view text = "text";
inline constexpr std::string_view status = "status";
inline constexpr std::string_view provider = "provider";
} // namespace WorkspaceKeys

} // namespace tessarin
