#include "IngestBenchmarkModel.h"

#include "BenchmarkSupport.h"
#include "Platform/BackgroundWork.h"
#include "Services/Locators.h"

#include <cstdio>
#include <cstdlib>

namespace tessarin
{

namespace
{

constexpr const char* updatesVariable = "INGEST_UPDATES";
constexpr const char* dialectVariable = "INGEST_DIALECT";

// How the model comes to a runtime of that dialect.
struct Route {
    const char* pathKey;
    ProviderRoutingMode mode;
};

Route routeOf(IngestDialect dialect)
{
    switch (dialect) {
    case IngestDialect::acp:
        return { GrokLocator::customPathKey, ProviderRoutingMode::grok };
    case IngestDialect::codex:
        return { CodexLocator::customPathKey, ProviderRoutingMode::codex };
    case IngestDialect::claude:
        return { ClaudeLocator::customPathKey, ProviderRoutingMode::claude };
    }
    return {};
}

std::filesystem::path freshFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "ingest-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        giveUp("no temporary folder");
    }
    return pattern;
}

} // namespace

IngestCost IngestStopwatch::cost() const
{
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - m_start;
    return { wall.count(), processorSeconds() - m_processorStart };
}

double IngestStopwatch::processorSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

Environment ingestEnvironment(const IngestStream& stream)
{
    Environment environment = processEnvironment();
    environment[updatesVariable] = std::to_string(stream.updates);
    environment[dialectVariable] = std::to_string(static_cast<int>(stream.dialect));
    return environment;
}

IngestStream ingestStreamOfEnvironment()
{
    const char* updates = std::getenv(updatesVariable);
    const char* dialect = std::getenv(dialectVariable);
    if (updates == nullptr || dialect == nullptr) {
        giveUp("the environment names no stream");
    }
    return IngestStream::make(static_cast<IngestDialect>(std::atoi(dialect)), std::strtoull(updates, nullptr, 10));
}

IngestModel::IngestModel(const std::string& runtime, const IngestStream& stream) : m_stream(stream), m_folder(freshFolder())
{
    const std::string project = (m_folder / "project").string();
    std::filesystem::create_directory(project);
    m_preferences = std::make_unique<Preferences>(StoreLocations{ (m_folder / "config").string(), (m_folder / "data").string() });
    const Route route = routeOf(stream.dialect);
    m_preferences->setText(route.pathKey, runtime);
    m_store = std::make_unique<WorkspaceStore>(*m_preferences);
    RuntimeContext runtimes = RuntimeContext::current(*m_preferences);
    runtimes.environment = ingestEnvironment(stream);
    runtimes.home = m_folder.string();
    m_model = AppModel::make({ *m_preferences, *m_store, m_mainThread, m_desktop, std::move(runtimes), { m_secrets } });
    m_model->addWorkspace(project);
    m_model->setRoutingMode(route.mode);
}

IngestModel::~IngestModel()
{
    m_model->removeWorkspace(*m_model->selectedWorkspaceID()); // which stops the client
    m_model.reset();
    finishBackgroundWork(); // which uses the secrets
    m_store.reset();
    m_preferences.reset();
    std::error_code ignored; // a folder of ours in the system's place for such
    std::filesystem::remove_all(m_folder, ignored);
}

void IngestModel::pumpUntilReady()
{
    while (m_model->connectionState().isBusy()) {
        if (!m_mainThread.waitAndDrain(std::chrono::seconds(60))) {
            giveUp("the runtime fell silent");
        }
    }
    if (m_model->connectionState().kind() != ConnectionState::Kind::ready) {
        giveUp(m_model->connectionState().failureText());
    }
}

IngestCost IngestModel::runTurn()
{
    m_model->newThread();
    m_model->send("warm up");
    pumpUntilReady();

    IngestCost cost;
    const IngestStopwatch watch;
    // Taken when the turn has ended, before the tree is saved: that is measured elsewhere.
    const AppModel::Subscription subscription = m_model->observe([&](const ModelChange& change) {
        if (change.kind == ModelChange::Kind::connectionState && !m_model->connectionState().isBusy()) {
            cost = watch.cost();
        }
    });
    m_model->send("go");
    pumpUntilReady();
    requireWholeStream();
    return cost;
}

void IngestModel::requireWholeStream() const
{
    std::size_t textBytes = 0;
    std::size_t entries = 0;
    for (const ChatEntry& entry : m_model->entries()) {
        entries += entry.kind == ChatEntryKind::user ? 0 : 1;
        textBytes += entry.kind == ChatEntryKind::assistant || entry.kind == ChatEntryKind::thought ? entry.text.size() : 0;
    }
    // The first line was written once more to warm up; it goes to the same entry, except where each turn has entries of its own.
    const std::size_t expectedEntries = m_stream.entries + (m_stream.dialect == IngestDialect::claude ? 1 : 0);
    const std::size_t firstPiece = m_stream.firstPieceBytes;
    if (entries != expectedEntries || textBytes != m_stream.textBytes + firstPiece) {
        giveUp("the task holds " + std::to_string(entries) + " entries with " + std::to_string(textBytes) + " bytes of text, not "
            + std::to_string(expectedEntries) + " with " + std::to_string(m_stream.textBytes + firstPiece));
    }
}

} // namespace tessarin
