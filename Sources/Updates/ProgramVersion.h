#pragma once

#include <string_view>

namespace tessarin
{

// The version of this program, as its build was given it: what a release has to be newer than.
[[nodiscard]] std::string_view programVersion();

} // namespace tessarin
