#pragma once

#include <string_view>

namespace tessarin
{

// The version of this program as its runtimes are told, such as "1.2.3": that of the build.
[[nodiscard]] std::string_view programVersion();

} // namespace tessarin
