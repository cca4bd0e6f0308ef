#pragma once

#include <string>
#include <string_view>

namespace tessarin
{

// What stands behind the last dot of the path's last component, in lower case; empty for none. A dot at the front makes a file hidden,
// and what follows is its name. Of letters only those of ASCII change: no extension that we know has others.
[[nodiscard]] std::string lowerCasedExtension(std::string_view path);

} // namespace tessarin
