#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// The one function of every fuzz target: libFuzzer calls it with inputs of its own, the replay test with the seeds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace tessarin
{

// What encloses a long text in an input of a target, so that the replay can make one that is too large for a seed.
struct LongTextInput {
    std::string_view start;
    std::string_view end;
};
extern const LongTextInput longTextInput;

inline std::string_view asText(const std::uint8_t* data, std::size_t size)
{
    return { reinterpret_cast<const char*>(data), size };
}

// An invariant that holds for any input; a broken one ends the process, so that the fuzzer keeps the input.
inline void fuzzRequire(bool holds, const char* rule)
{
    if (!holds) {
        std::fprintf(stderr, "broken: %s\n", rule);
        std::abort();
    }
}

} // namespace tessarin
