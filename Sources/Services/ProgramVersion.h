#pragma once

#include <string_view>

namespace tessarin
{

// The version of this program, such as "1.2.3": that of the build. Its runtimes are told, and its window shows it.
[[nodiscard]] std::string_view programVersion();

} // namespace tessarin
