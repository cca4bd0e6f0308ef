// What it costs to seal and to open a frame, against `openssl speed -evp aes-256-gcm` for messages of the same size: at least 0.8 of its
// bytes a second. Ours includes what that leaves out: the key, a random nonce, the tag, and the frame itself, in memory of its own.
// Both take their turns, size by size, and both are measured in processor time, as openssl does.
//
//   SealingBenchmark [--rounds=3] [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkProgram.h"
#include "BenchmarkSupport.h"
#include "Remote/RemoteCrypto.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace tessarin
{
namespace
{

constexpr double bar = 0.8;
constexpr double secondsOfARound = 1;
constexpr std::array<std::size_t, 6> sizes{ 64, 1024, 16 * 1024, 256 * 1024, 1024 * 1024, 8 * 1024 * 1024 };

// The measure, in bytes a second.
double speedOfOpenSsl(std::size_t size)
{
    const std::string bytes = std::to_string(size);
    BenchmarkProgram program({ "sh", "-c", "exec openssl speed -mr -seconds 1 -evp aes-256-gcm -bytes " + bytes + " 2>/dev/null" },
        { { "PATH", "/usr/bin:/bin" } });
    constexpr std::string_view begin = "+F:";
    for (std::string line = program.line();; line = program.line()) {
        if (line.starts_with(begin)) {
            return std::strtod(line.c_str() + line.rfind(':') + 1, nullptr);
        }
    }
}

double processorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

// Bytes a second of work that takes `size` bytes at a time.
template <class Work>
double speedOf(std::size_t size, const Work& work)
{
    const std::size_t together = std::max<std::size_t>(1, 64 * 1024 / size); // so that the clock costs nothing
    std::size_t total = 0;
    const double start = processorSeconds();
    double seconds = 0;
    while (seconds < secondsOfARound) {
        for (std::size_t time = 0; time < together; ++time) {
            work();
        }
        total += together * size;
        seconds = processorSeconds() - start;
    }
    return static_cast<double>(total) / seconds;
}

struct Ratios {
    std::vector<double> sealing;
    std::vector<double> opening;
};

void measure(std::size_t size, Ratios& ratios)
{
    const std::string key(RemoteCrypto::keyByteCount, 'k');
    const std::string message(size, 'm');
    const double measure = speedOfOpenSsl(size);
    ratios.sealing.push_back(speedOf(size, [&] {
        if (!RemoteCrypto::seal(message, key)) {
            giveUp("a message could not be sealed");
        }
    }) / measure);
    const std::string payload = RemoteCrypto::seal(message, key).value().substr(RemoteCrypto::lengthByteCount);
    ratios.opening.push_back(speedOf(size, [&] {
        if (!RemoteCrypto::open(payload, key)) {
            giveUp("a frame could not be opened");
        }
    }) / measure);
    std::printf("%8zu bytes: openssl speed %.2f GB/s, sealing %.2f, opening %.2f\n", size, measure / 1e9,
        ratios.sealing.back() * measure / 1e9, ratios.opening.back() * measure / 1e9);
}

int measureAll(const BenchmarkOptions& options)
{
    double least = 1e9;
    for (const std::size_t size : sizes) {
        Ratios ratios;
        for (std::size_t round = 0; round < options.number("rounds"); ++round) {
            measure(size, ratios);
        }
        const double sealing = median(ratios.sealing);
        const double opening = median(ratios.opening);
        std::printf("%8zu bytes: sealing %.2f and opening %.2f of it\n", size, sealing, opening);
        least = std::min({ least, sealing, opening });
    }
    std::printf(
        "sealing or opening a frame / openssl speed for the same size, the least from 64 bytes to 8 MiB: %.2f (bar %.1f, at least)\n",
        least, bar);
    return options.status(least >= bar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    return tessarin::measureAll({ argc, argv, { { "rounds", "3" } } });
}
