#include "FuzzTarget.h"
#include "Remote/RemoteCrypto.h"
#include "Remote/RemoteFrameReader.h"

#include <algorithm>
#include <string>

const tessarin::LongTextInput tessarin::longTextInput{ { "\x10\x00\x20\x00\x00", 5 }, "" };

namespace
{

using namespace tessarin;

// Whatever opens is a message or not; neither may do harm.
void open(std::string_view payload)
{
    static const std::string key(RemoteCrypto::keyByteCount, 'k');
    const auto plaintext = RemoteCrypto::open(payload, key);
    fuzzRequire(!plaintext, "nobody seals without the key");
}

struct Outcome {
    std::string frames; // with their lengths, as they came
    bool isRefused = false;
};

// Reads the bytes in parts of so many.
Outcome read(std::string_view bytes, std::size_t partSize)
{
    Outcome outcome;
    RemoteFrameReader reader;
    for (std::size_t place = 0; place < bytes.size() && !outcome.isRefused; place += partSize) {
        const std::string_view part = bytes.substr(place, partSize);
        reader.append(part);
        auto frame = reader.next();
        while (frame && frame.value()) {
            outcome.frames += bytes.substr(outcome.frames.size(), RemoteCrypto::lengthByteCount);
            outcome.frames += *frame.value();
            open(*frame.value());
            frame = reader.next();
        }
        outcome.isRefused = !frame;
        fuzzRequire(outcome.frames.size() + reader.heldBytes() == std::min(bytes.size(), place + part.size()), "no byte is lost");
    }
    return outcome;
}

} // namespace

// Frames are the same however they are split, and are what was sent. The first byte says how large a part is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input = asText(data, size);
    if (input.empty()) {
        return 0;
    }
    const std::string_view bytes = input.substr(1);
    // A long input is not taken byte by byte.
    const std::size_t partSize = 1 + static_cast<unsigned char>(input.front()) + bytes.size() / 1000;
    const Outcome whole = read(bytes, bytes.size() + 1);
    const Outcome parts = read(bytes, partSize);
    fuzzRequire(bytes.starts_with(whole.frames), "what is given out is what came");
    fuzzRequire(parts.frames == whole.frames && parts.isRefused == whole.isRefused, "splitting changes nothing");
    return 0;
}
