#include "FuzzTarget.h"
#include "Remote/RemoteCoder.h"

const tessarin::LongTextInput tessarin::longTextInput{ R"({"version":1,"id":"a","type":"prompt","text":")", R"("})" };

// What a device sends decodes or is refused. What decodes is written so that it reads back as the same message.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    if (const auto envelope = decodeRemoteEnvelope(asText(data, size))) {
        RemoteEncoder encoder;
        const auto bytes = encoder.encode(*envelope, SIZE_MAX);
        fuzzRequire(bytes.has_value(), "what was read can be written");
        fuzzRequire(decodeRemoteEnvelope(bytes->joined()) == envelope, "what was written reads back as the same message");
        fuzzRequire(!encoder.encode(*envelope, bytes->size() - 1), "a message above the limit is given up");
        fuzzRequire(encoder.encode(*envelope, bytes->size()).has_value(), "a message as long as the limit is written");
    }
    return 0;
}
