#pragma once

#include "App/AppModel.h"
#include "BenchmarkWorld.h"
#include "IngestBenchmarkStream.h"

#include <chrono>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>

namespace tessarin
{

struct IngestCost {
    double wall = 0; // seconds
    double processor = 0; // seconds of this process, all threads
};

// Both clocks, from its construction on.
class IngestStopwatch
{
public:
    [[nodiscard]] IngestCost cost() const;

private:
    [[nodiscard]] static double processorSeconds();
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    double m_processorStart = processorSeconds();
};

// The environment of a runtime that writes such a stream, and how it makes the stream again.
[[nodiscard]] Environment ingestEnvironment(const IngestStream& stream);
[[nodiscard]] IngestStream ingestStreamOfEnvironment();

// The program without its window: a model with one project in a folder of its own, whose runtime is this benchmark.
class IngestModel
{
public:
    IngestModel(const std::string& runtime, const IngestStream& stream);
    ~IngestModel();
    IngestModel(const IngestModel&) = delete;
    IngestModel& operator=(const IngestModel&) = delete;

    // One turn in a new task, from sending the prompt to its end. Ends the program when the task does not hold all of the stream.
    [[nodiscard]] IngestCost runTurn();

private:
    void pumpUntilReady();
    void requireWholeStream() const;

    const IngestStream& m_stream;
    std::filesystem::path m_folder;
    MainThread& m_mainThread = *new MainThread; // never freed: a probe of a runtime may answer after everything else has gone
    NoDesktop m_desktop;
    OneSecret m_secrets;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<WorkspaceStore> m_store;
    std::shared_ptr<AppModel> m_model;
};

} // namespace tessarin
