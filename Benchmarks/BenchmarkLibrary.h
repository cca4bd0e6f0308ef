#pragma once

#include "Platform/Preferences.h"

#include <cstddef>

namespace tessarin
{

// A media library with so many pictures of 1,024 by 768 pixels, twenty of them different in what they show.
void storeLibrary(const StoreLocations& locations, std::size_t pictures);

} // namespace tessarin
