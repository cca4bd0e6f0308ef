#include "FuzzTarget.h"
#include "Imagine/PictureBytes.h"

#include <string>

const tessarin::LongTextInput tessarin::longTextInput{ "GIF89a", ";" };

// What is kept of a picture is a picture of the same format, not much larger than before, and nothing more can be taken from it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    const std::string bytes(asText(data, size));
    const auto format = PictureBytes::format(bytes);
    if (!format) {
        return 0;
    }
    fuzzRequire(PictureBytes::passes(*format, bytes) <= size, "no pass without a byte");
    const auto kept = PictureBytes::essentials(*format, bytes);
    if (kept) {
        fuzzRequire(kept->size() <= size + 1, "what is kept is not larger, but for the end of a GIF");
        fuzzRequire(PictureBytes::format(*kept) == format, "the format stays");
        fuzzRequire(PictureBytes::essentials(*format, *kept) == kept, "what is kept is kept again");
    }
    return 0;
}
