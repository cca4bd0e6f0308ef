#include "App/AppModel.h"

#include "App/FriendlyError.h"
#include "Imagine/ImagineMediaExtractor.h"
#include "Platform/BackgroundWork.h"
#include "Platform/Text.h"
#include "Services/ACPClient.h"
#include "Services/Locators.h"

#include <mutex>
#include <utility>

// The generation of images and videos: there is no interface for media, so a second Grok runtime gets a slash command as its prompt, and
// its updates are searched for the files that it has made. They never reach a task.

namespace tessarin
{

namespace
{

// What goes with what a person asks for.
struct GenerationTexts {
    std::string_view command; // before the prompt
    std::string_view accepted;
    std::string_view sent;
};

GenerationTexts generationTexts(ImagineKind kind)
{
    switch (kind) {
    case ImagineKind::image:
        return { "/imagine ", "Preparing image generation…", "Grok is generating an image…" };
    case ImagineKind::video:
        return { "/imagine-video ", "Preparing video generation…", "Grok is generating a video…" };
    }
    return {};
}

std::string_view importedText(ImagineKind kind)
{
    switch (kind) {
    case ImagineKind::image:
        return "Image ready";
    case ImagineKind::video:
        return "Video ready";
    }
    return {};
}

// The line that an update stands for; absent when it leaves the line as it is.
std::optional<std::string> progressIn(const SessionUpdate& update)
{
    const auto kind = textAt(update, "sessionUpdate");
    if (kind == "agent_message_chunk") {
        const JsonObject* content = objectAt(update, "content");
        const auto text = content ? textAt(*content, "text") : std::nullopt;
        return text ? std::optional<std::string>(trimmed(*text)) : std::nullopt;
    }
    if (kind == "tool_call" || kind == "tool_call_update") {
        const auto title = textAt(update, "title");
        return title && !title->empty() ? std::optional<std::string>(*title) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace

// In the order in which the imports came to their ends, on whatever thread.
struct AppModel::ImagineArrivals {
    void put(ImagineItem item)
    {
        const std::lock_guard lock(m_mutex);
        m_items.push_back(std::move(item));
    }
    [[nodiscard]] std::vector<ImagineItem> takeAll()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_items, {});
    }

private:
    std::mutex m_mutex; // guards what follows
    std::vector<ImagineItem> m_items;
};

// What imports need on their threads; shared by all of one update, which may name very many files.
struct AppModel::ImagineImport {
    std::weak_ptr<AppModel> model;
    MainThread& mainThread;
    std::string prompt; // as it was when the file was reported
    StoreLocations locations;
    std::shared_ptr<ImagineArrivals> arrivals;

    void run(const std::string& path) const
    {
        auto imported = ImagineStore::importMedia(path, prompt, locations);
        // What looks like a path is often none; so a failure is as silent as a file that isn't there.
        auto item = imported ? std::move(imported).value() : std::nullopt;
        if (!item) {
            return;
        }
        arrivals->put(std::move(*item));
        mainThread.post([weak = model] {
            if (const auto alive = weak.lock()) {
                alive->takeImagineArrivals();
            }
        });
    }
};

std::shared_ptr<AppModel::ImagineArrivals> AppModel::makeImagineArrivals()
{
    return std::make_shared<ImagineArrivals>();
}

void AppModel::generateImagine(const std::string& prompt, ImagineKind kind)
{
    const std::string trimmedPrompt(trimmed(prompt));
    if (trimmedPrompt.empty()) {
        return;
    }
    auto executable = GrokLocator::findExecutable(m_surroundings.runtimes);
    if (!executable) {
        publish(m_installStatus, GrokInstallStatus(Missing()), ModelChange::Kind::installStatus);
        setErrorMessage("Install and log in to Grok Build before using Imagine.");
        return;
    }
    m_currentImaginePrompt = trimmedPrompt;
    m_currentImagineKind = kind;
    setImagineProgress(std::string(generationTexts(kind).accepted));
    m_seenImaginePaths.clear();
    if (m_imagineClient && m_imagineState.kind() == ConnectionState::Kind::ready) {
        performImagineSend(m_currentImaginePrompt, m_currentImagineKind);
    } else {
        startImagineClient(std::move(*executable));
    }
}

void AppModel::startImagineClient(std::string executable)
{
    dropImagineClient();
    setImagineState(ConnectionState::Kind::connecting);
    const auto library = ImagineStore::directory(m_surroundings.preferences.locations());
    if (!library) {
        setImagineState(ConnectionState::failed("Could not create the Imagine library."));
        return;
    }
    m_imagineClient = ACPClient::make(
        ACPClient::Configuration::grok(std::move(executable), library.value(), std::nullopt, m_permissionMode, m_surroundings.runtimes),
        m_surroundings.mainThread);
    setImagineCallbacks(m_imagineClient);
    m_imagineClient->start(std::nullopt,
        [weak = weak_from_this(), weakClient = std::weak_ptr(m_imagineClient)](const Result<AgentStartResult, AgentError>& result) {
            const auto model = weak.lock();
            if (model && model->isCurrentForImagine(weakClient)) {
                model->finishImagineStart(result);
            }
        });
}

// As with the other client, only the end of the child asks whether the client is still the current one.
void AppModel::setImagineCallbacks(const std::shared_ptr<ACPClient>& client)
{
    const std::weak_ptr<AppModel> weak = weak_from_this();
    client->onSessionUpdate = [weak](const SessionUpdate& update) {
        if (const auto model = weak.lock()) {
            model->handleImagine(update);
        }
    };
    client->onPermissionRequest = [weak, weakClient = std::weak_ptr(client)](PermissionRequest request) {
        if (const auto model = weak.lock()) {
            model->receivePermission(PermissionOwner::imagine, weakClient, std::move(request));
        }
    };
    client->onLog = [weak](const std::string& text) {
        if (const auto model = weak.lock()) {
            model->appendLog(text);
        }
    };
    client->onUnexpectedTermination = [weak, weakClient = std::weak_ptr(client)](const std::string& text) {
        const auto model = weak.lock();
        if (model && model->isCurrentForImagine(weakClient)) {
            model->forgetAsker(weakClient);
            model->failImagine(text, text);
        }
    };
}

void AppModel::finishImagineStart(const Result<AgentStartResult, AgentError>& result)
{
    if (!result) {
        const std::string text = result.error().description();
        return failImagine(text, friendlyError(text));
    }
    setImagineState(ConnectionState::Kind::ready);
    performImagineSend(m_currentImaginePrompt, m_currentImagineKind);
}

void AppModel::performImagineSend(const std::string& prompt, ImagineKind kind)
{
    if (!m_imagineClient) {
        return;
    }
    const GenerationTexts texts = generationTexts(kind);
    setImagineState(ConnectionState::Kind::working);
    setImagineProgress(std::string(texts.sent));
    m_imagineClient->sendPrompt(std::string(texts.command) + prompt,
        [weak = weak_from_this(), weakClient = std::weak_ptr(m_imagineClient)](const Result<JsonObject, AgentError>& result) {
            const auto model = weak.lock();
            if (model && model->isCurrentForImagine(weakClient)) {
                model->finishImaginePrompt(result);
            }
        });
}

void AppModel::finishImaginePrompt(const Result<JsonObject, AgentError>& result)
{
    if (!result) {
        const std::string text = result.error().description();
        setImagineProgress("Generation failed");
        return failImagine(text, friendlyError(text));
    }
    setImagineState(ConnectionState::Kind::ready);
    // What an import or the agent has said since stays, unless it speaks of generating as well.
    if (contains(m_imagineProgress, "generating")) {
        setImagineProgress("Generation finished");
    }
}

void AppModel::handleImagine(const SessionUpdate& update)
{
    if (auto progress = progressIn(update)) {
        setImagineProgress(std::move(*progress));
    }
    std::vector<std::string> paths = ImagineMediaExtractor::paths(update);
    // A tool that repeats its output imports once.
    std::erase_if(paths, [this](const std::string& path) { return !m_seenImaginePaths.insert(path).second; });
    importImagineMedia(std::move(paths));
}

void AppModel::importImagineMedia(std::vector<std::string> paths)
{
    const auto import = std::make_shared<const ImagineImport>(ImagineImport{
        weak_from_this(), m_surroundings.mainThread, m_currentImaginePrompt, m_surroundings.preferences.locations(), m_imagineArrivals });
    for (std::string& path : paths) {
        runInBackground([import, path = std::move(path)] { import->run(path); }, AtEnd::dropped);
    }
}

void AppModel::takeImagineArrivals()
{
    // Many copies may have come to their ends: they are told and saved once.
    std::vector<ImagineItem> arrived = m_imagineArrivals->takeAll();
    if (arrived.empty()) {
        return;
    }
    const ImagineKind lastKind = arrived.back().kind;
    for (ImagineItem& item : arrived) {
        addImagineItem(std::move(item));
    }
    changed(ModelChange::Kind::imagineItems);
    setImagineProgress(std::string(importedText(lastKind)));
    m_imagineStore.save(m_imagineItems);
}

void AppModel::addImagineItem(ImagineItem item)
{
    m_imagineItems.insert(m_imagineItems.begin(), std::move(item));
}

void AppModel::cancelImagine()
{
    if (m_imagineClient) {
        m_imagineClient->cancel();
    }
    setImagineState(ConnectionState::Kind::ready);
    setImagineProgress(generationStopped);
    if (m_permissionOwner == PermissionOwner::imagine) {
        clearPermissionRequest();
    }
}

void AppModel::openImagineItem(const ImagineItem& item)
{
    m_surroundings.desktop.open(item.localPath);
}

void AppModel::deleteImagineItem(const ImagineItem& item)
{
    const Uuid id = item.id; // the item may be one of those that are removed
    m_surroundings.desktop.moveToTrash(item.localPath);
    if (std::erase_if(m_imagineItems, [id](const ImagineItem& each) { return each.id == id; }) > 0) {
        changed(ModelChange::Kind::imagineItems);
    }
    m_imagineStore.save(m_imagineItems);
}

void AppModel::finishImagineImports()
{
    m_imagineStore.flush(); // a signal may end the program while it waits for the copies
    endBackgroundWork();
    takeImagineArrivals(); // the main loop may not come round to it any more
    m_imagineStore.flush();
}

void AppModel::dropImagineClient()
{
    if (m_imagineClient) {
        const std::shared_ptr<ACPClient> client = std::exchange(m_imagineClient, nullptr);
        client->stop(); // dropping alone would leave the child running
        forgetAsker(client);
    }
}

bool AppModel::isCurrentForImagine(const std::weak_ptr<ACPClient>& client) const
{
    const auto alive = client.lock();
    return alive && alive == m_imagineClient;
}

} // namespace tessarin
