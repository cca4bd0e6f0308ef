#include "Models/ProviderUsage.h"

#include <array>
#include <charconv>
#include <cmath>

namespace tessarin
{

std::string ProviderUsage::compactLabel() const
{
    if (!primaryUsedPercent) {
        return exhausted ? "Limit reached" : "Usage unavailable";
    }
    // `round` takes ties away from zero. As text a double of any size is safe; an integer type would not hold each.
    const double rounded = std::round(*primaryUsedPercent) + 0.0;
    std::array<char, 320> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), rounded, std::chars_format::fixed, 0);
    return std::string(digits.data(), end.ptr) + "% used";
}

} // namespace tessarin
