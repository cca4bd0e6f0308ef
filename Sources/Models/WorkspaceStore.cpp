#include "Models/WorkspaceStore.h"

#include "Platform/Files.h"

#include <thread>
#include <utility>

namespace tessarin
{

namespace
{

struct Loaded {
    std::vector<Workspace> workspaces;
    WorkspaceEncoder encoder; // that knows their bytes
    bool isUsable = true; // false for a value that is there but can't be read or decoded
};

// A smaller tree is not worth it.
constexpr std::size_t leastLeftOnDisk = 1 << 20;

Loaded loadWith(const Preferences::BytesReader& read, const std::string& path)
{
    Loaded loaded;
    auto stored = read();
    if (!stored) {
        loaded.isUsable = false;
        return loaded;
    }
    auto bytes = std::move(stored).value();
    if (!bytes) {
        return loaded;
    }
    const bool isLarge = bytes->size() >= leastLeftOnDisk;
    auto workspaces = loaded.encoder.decode(std::move(*bytes));
    if (isLarge) {
        loaded.encoder.leaveOnDisk(path);
    }
    loaded.isUsable = workspaces.has_value();
    loaded.workspaces = std::move(workspaces).value_or(std::vector<Workspace>());
    return loaded;
}

// Where the bytes stand on a system that keeps them in a file.
std::string storedPath(const Preferences& preferences)
{
    return preferences.locations().data + "/" + WorkspaceStore::key;
}

} // namespace

struct WorkspaceStore::Loading {
    Loading(Preferences::BytesReader read, std::string path)
        : m_thread([this, read = std::move(read), path = std::move(path)] { m_loaded = loadWith(read, path); })
    {
    }
    ~Loading()
    {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

    [[nodiscard]] Loaded wait()
    {
        m_thread.join();
        return std::move(m_loaded);
    }

private:
    Loaded m_loaded; // of the thread until it is joined
    std::thread m_thread;
};

WorkspaceStore::WorkspaceStore(Preferences& preferences) : m_preferences(preferences) { }

WorkspaceStore::~WorkspaceStore() = default;

void WorkspaceStore::beginLoading()
{
    m_loading = std::make_unique<Loading>(m_preferences.bytesReader(key), storedPath(m_preferences));
}

std::vector<Workspace> WorkspaceStore::load()
{
    Loaded loaded = m_loading ? m_loading->wait() : loadWith(m_preferences.bytesReader(key), storedPath(m_preferences));
    m_loading.reset();
    m_encoder = std::move(loaded.encoder);
    if (!loaded.isUsable) {
        m_preferences.setAside(key);
    }
    std::erase_if(loaded.workspaces, [](const Workspace& workspace) { return !fileExists(workspace.path); });
    return std::move(loaded.workspaces);
}

void WorkspaceStore::save(const std::vector<Workspace>& workspaces, TreeChanges& changes)
{
    // A tree that can't be encoded isn't written and the earlier one stays, without a word by design.
    if (auto encoded = m_encoder.encode(workspaces, changes)) {
        m_preferences.setBytes(key, std::move(*encoded));
    }
}

} // namespace tessarin
