// How fast what a runtime writes becomes a task, against two measures in the same run on the same lines:
//  - Boost.JSON parsing them, one after the other, on one thread and nothing else: at most twice the processor time;
//  - the official TypeScript client of the protocol in Node.js, which hands each update to a handler: at least twelve times as fast.
// The same cost is measured for the dialects of Codex and of Claude Code, each against the parse of its own lines.
// Ours is the whole way: a child writes into a real pipe, the client reads, frames, parses and posts, and the model folds every update
// into a task. Processor time is that of this process, all threads, kernel included; the child's is its own.
//
//   IngestBenchmark [--updates=400000] [--rounds=5] [--report] [--profile=acp|codex|claude]
//
// With --profile only that dialect is run, for a profiler to look at.
// Ends with 1 when a bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkSupport.h"
#include "IngestBenchmarkModel.h"
#include "IngestBenchmarkStream.h"
#include "Platform/ChildProcess.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace tessarin
{
namespace
{

constexpr double costBar = 2.0;
constexpr double speedBar = 12.0;

IngestCost costOfParsingAlone(const IngestStream& stream)
{
    const IngestStopwatch watch;
    std::size_t objects = 0;
    std::string_view rest = stream.bytes;
    for (auto end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        const boost::json::value value = boost::json::parse(boost::json::string_view(rest.data(), end));
        objects += value.is_object() ? 1 : 0;
        rest.remove_prefix(end + 1);
    }
    const IngestCost cost = watch.cost();
    if (objects != stream.updates) {
        std::fprintf(stderr, "Boost.JSON read %zu objects of %zu\n", objects, stream.updates);
        std::exit(2);
    }
    return cost;
}

// The seconds that the official client took, the better of two runs.
double secondsOfTheOfficialClient(const std::string& self, const IngestStream& stream)
{
    ChildLaunch install;
    install.executable = INGEST_CMAKE;
    install.arguments = { "-DSOURCE=" INGEST_TYPESCRIPT_SOURCE, "-DDESTINATION=" INGEST_TYPESCRIPT_FOLDER, "-DMAIN=ingest.mjs",
        "-DPROGRAM=official-client", "-P", INGEST_INSTALL_SCRIPT };
    install.environment = processEnvironment();
    const auto installed = runCommand(install);
    if (!installed || installed.value().status != 0) {
        std::fprintf(stderr, "%s\n", installed ? installed.value().output.c_str() : installed.error().c_str());
        std::exit(2);
    }
    ChildLaunch launch;
    launch.executable = INGEST_TYPESCRIPT_FOLDER "/official-client";
    launch.arguments = { self, "agent" };
    launch.environment = ingestEnvironment(stream);
    double best = 0;
    for (int round = 0; round < 2; ++round) {
        const auto outcome = runCommand(launch);
        const auto told = outcome ? parseJson(outcome.value().output) : std::nullopt;
        const auto seconds = told && told->is_object() ? numberAt(told->get_object(), "seconds") : std::nullopt;
        if (!seconds || integerAt(told->get_object(), "updates") != static_cast<std::int64_t>(stream.updates)) {
            std::fprintf(stderr, "the official client said: %s\n", outcome ? outcome.value().output.c_str() : outcome.error().c_str());
            std::exit(2);
        }
        best = round == 0 ? *seconds : std::min(best, *seconds);
    }
    return best;
}

void print(const char* what, const IngestStream& stream, const IngestCost& cost)
{
    const auto updates = static_cast<double>(stream.updates);
    std::printf("%-32s %.3f s wall, %.3f s processor, %4.0f ns processor a line, %8.0f lines a second\n", what, cost.wall, cost.processor,
        cost.processor / updates * 1e9, updates / cost.wall);
}

// The medians of one dialect over all rounds.
struct DialectCost {
    double wall = 0; // seconds to the folded task
    double ratio = 0; // of its processor time to that of the parse alone
};

DialectCost measureDialect(const std::string& self, const char* name, const IngestStream& stream, std::size_t rounds)
{
    std::printf("%s: %zu lines, %.0f bytes each; medians of %zu rounds\n", name, stream.updates,
        static_cast<double>(stream.bytes.size()) / static_cast<double>(stream.updates), rounds);
    std::vector<double> parseWall, parseProcessor, modelWall, modelProcessor, costRatios;
    IngestModel model(self, stream);
    for (std::size_t round = 0; round < rounds; ++round) {
        const IngestCost parse = costOfParsingAlone(stream);
        const IngestCost folded = model.runTurn();
        parseWall.push_back(parse.wall);
        parseProcessor.push_back(parse.processor);
        modelWall.push_back(folded.wall);
        modelProcessor.push_back(folded.processor);
        costRatios.push_back(folded.processor / parse.processor);
    }
    print("Boost.JSON parse alone", stream, { median(parseWall), median(parseProcessor) });
    print("runtime output to folded task", stream, { median(modelWall), median(modelProcessor) });
    return { median(modelWall), median(costRatios) };
}

constexpr std::array dialectNames{ "acp", "codex", "claude" };

int measure(const std::string& self, const BenchmarkOptions& options)
{
    std::array<DialectCost, dialectNames.size()> costs;
    for (std::size_t place = 0; place < dialectNames.size(); ++place) {
        if (options.text("profile").empty() || options.text("profile") == dialectNames[place]) {
            const IngestStream stream = IngestStream::make(static_cast<IngestDialect>(place), options.number("updates"));
            costs[place] = measureDialect(self, dialectNames[place], stream, options.number("rounds"));
        }
    }
    if (!options.text("profile").empty()) {
        return 0;
    }
    const IngestStream stream = IngestStream::make(IngestDialect::acp, options.number("updates"));
    const double officialSeconds = secondsOfTheOfficialClient(self, stream);
    std::printf("%-32s %.3f s wall, %8.0f lines a second (the better of 2)\n", "official TypeScript client", officialSeconds,
        static_cast<double>(options.number("updates")) / officialSeconds);
    bool isMet = true;
    for (std::size_t place = 0; place < dialectNames.size(); ++place) {
        std::printf("output to folded task / Boost.JSON parsing the same lines, %s: %.2f (bar %.1f)\n", dialectNames[place],
            costs[place].ratio, costBar);
        isMet = isMet && costs[place].ratio <= costBar;
    }
    const double speed = officialSeconds / costs[0].wall;
    std::printf("updates a second against the official TypeScript client: %.1f times (bar %.0f, at least)\n", speed, speedBar);
    return options.status(isMet && speed >= speedBar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    using namespace tessarin;
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    // The runtime is this program too, called as each vendor's is.
    if (!arguments.empty() && (arguments[0] == "agent" || arguments[0] == "app-server" || arguments[0] == "--output-format")) {
        return playIngestRuntime(ingestStreamOfEnvironment());
    }
    if (!arguments.empty() && arguments[0] == "--version") {
        std::puts("1.0.0");
        return 0;
    }
    return measure(std::filesystem::read_symlink("/proc/self/exe").string(),
        { argc, argv, { { "updates", "400000" }, { "rounds", "5" }, { "profile", "" } } });
}
