#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace tessarin
{

// The two top-level sections of the window.
enum class AppSection { build, imagine };
inline constexpr std::array allAppSections{ AppSection::build, AppSection::imagine };
[[nodiscard]] std::string_view rawText(AppSection section);
[[nodiscard]] std::optional<AppSection> appSectionFromRawText(std::string_view text);

} // namespace tessarin
