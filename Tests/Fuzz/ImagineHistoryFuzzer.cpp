#include "FuzzTarget.h"
#include "Imagine/ImagineHistory.h"

const tessarin::LongTextInput tessarin::longTextInput{ R"([{"prompt":")", R"("}])" };

// A stored history decodes or is refused. One that decodes is written so that it reads back as the same items.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    if (const auto items = decodeImagineHistory(asText(data, size))) {
        const auto encoded = encodeImagineHistory(*items);
        fuzzRequire(encoded.has_value(), "what was read can be written");
        fuzzRequire(decodeImagineHistory(*encoded) == items, "what was written reads back as the same items");
    }
    return 0;
}
