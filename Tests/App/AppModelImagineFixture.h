#pragma once

#include "AppModelFixture.h"
#include "Imagine/ImagineHistory.h"
#include "Platform/BackgroundWork.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace tessarin::testing
{

// For the second runtime. The first session of the program is its start 1, unless a task has one before.
class AppModelImagineTest : public AppModelTest
{
protected:
    using State = ConnectionState::Kind;

    explicit AppModelImagineTest(MainThread* ownMainThread = nullptr) : AppModelTest(ownMainThread) { }
    ~AppModelImagineTest() override
    {
        if (model) {
            stopImagine();
        }
        finishBackgroundWork(); // before the folder goes that it copies to
    }

    // Ends the second runtime, whatever it is doing.
    void stopImagine()
    {
        model->stopWorking();
        model->cancelImagine();
        changeMode();
        EXPECT_EQ(model->imagineState().kind(), State::idle);
    }
    // To another one, which ends both runtimes.
    void changeMode()
    {
        const auto other = model->permissionMode() == GrokPermissionMode::ask ? GrokPermissionMode::auto_ : GrokPermissionMode::ask;
        model->setPermissionMode(other);
    }
    void openImagine(const Scenario& scenario)
    {
        runtime.script("grok", scenario);
        install({ "grok" });
        openModel();
        watch();
    }
    // From now on; each text once while it stands.
    void watch()
    {
        m_subscription = model->observe([this](const ModelChange& change) {
            if (change.kind == ModelChange::Kind::imagineState) {
                states.push_back(model->imagineState().kind());
            } else if (change.kind == ModelChange::Kind::imagineProgress) {
                lines.push_back(model->imagineProgress());
            } else if (change.kind == ModelChange::Kind::imagineItems) {
                ++itemChanges;
            }
        });
    }

    // A runtime that has started is never seen ready before its prompt has gone out: `ready` is the end of a generation.
    void waitForImagine(State state)
    {
        waitUntil([&] { return model->imagineState().kind() == state; }, "waiting for a state of Imagine");
    }
    void waitForItems(std::size_t count)
    {
        waitUntil([&] { return model->imagineItems().size() >= count; }, "waiting for items");
    }
    void waitForFile(const std::string& name)
    {
        waitUntil([&] { return runtime.exists(name); }, "waiting for a file of the script");
    }
    // Generates and waits until the runtime has the prompt.
    void generateUntil(const std::string& file, const std::string& prompt = "a red cube")
    {
        model->generateImagine(prompt, ImagineKind::image);
        waitForFile(file);
        waitForImagine(State::working);
    }
    // Until the n-th start has ended and been collected.
    void waitForEnd(int start = 1)
    {
        waitUntil([&] { return runtime.hasStarted("grok", start) && kill(runtime.processID("grok", start), 0) != 0; }, "an end");
    }

    // Of the n-th start, without the program's own name.
    [[nodiscard]] JsonArray arguments(int start = 1) const
    {
        JsonArray all = runtime.startOf("grok", start).at("argv").as_array();
        all.erase(all.begin());
        return all;
    }
    [[nodiscard]] std::string library() const { return runtime.directory() + "/data/Imagine"; }
    [[nodiscard]] std::string history() const { return library() + "/history.json"; }
    // A file that an agent has made.
    std::string made(const std::string& name, const std::string& bytes = "pixels") const
    {
        const std::string folder = makeFolder("made");
        std::ofstream(folder + "/" + name, std::ios::binary) << bytes;
        return folder + "/" + name;
    }
    // So many pictures, their sizes growing by `step` bytes from `first` on.
    [[nodiscard]] std::vector<std::string> madeMany(std::size_t count, std::size_t first, std::size_t step = 0) const
    {
        std::vector<std::string> paths(count);
        for (std::size_t number = 0; number < count; ++number) {
            paths[number] = made(std::to_string(number) + ".png", std::string(first + number * step, 'x'));
        }
        return paths;
    }
    [[nodiscard]] static std::string bytesOf(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return { std::istreambuf_iterator<char>(file), {} };
    }
    // The media files in the library, by name.
    [[nodiscard]] std::vector<std::string> libraryFiles() const
    {
        std::vector<std::string> names;
        std::error_code error;
        for (const auto& file : std::filesystem::directory_iterator(library(), error)) {
            if (const std::string name = file.path().filename().string(); !name.starts_with("history.json") && name.front() != '.') {
                names.push_back(name);
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    // Until the history on the disk holds these.
    void waitForStored(const std::vector<ImagineItem>& items)
    {
        waitUntil([&] { return decodeImagineHistory(bytesOf(history())) == items; }, "the history");
    }
    [[nodiscard]] std::vector<std::string> itemPrompts() const
    {
        std::vector<std::string> prompts;
        prompts.reserve(model->imagineItems().size());
        for (const ImagineItem& item : model->imagineItems()) {
            prompts.push_back(item.prompt);
        }
        return prompts;
    }
    void expectFailed(const std::string& text, const std::optional<std::string>& message)
    {
        EXPECT_EQ(model->imagineState(), ConnectionState::failed(text));
        EXPECT_EQ(model->errorMessage(), message);
    }

    std::vector<State> states; // of Imagine, as they were told
    std::vector<std::string> lines; // of its progress
    int itemChanges = 0;

private:
    AppModel::Subscription m_subscription;
};

// A tool says that it has made the file.
inline std::string finished(const std::string& path)
{
    const JsonObject content{ { "type", "text" }, { "text", "Saved to " + path } };
    return boost::json::serialize(JsonObject{ { "sessionUpdate", "tool_call_update" }, { "toolCallId", "call-1" },
        { "status", "completed" }, { "content", JsonArray{ JsonObject{ { "type", "content" }, { "content", content } } } } });
}

// A runtime that opens a session and makes these files in answer to one prompt.
inline Scenario makes(const std::vector<std::string>& paths)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt");
    for (const std::string& path : paths) {
        scenario.update(finished(path));
    }
    return scenario.reply(endTurn);
}

// A session/request_permission of that id, with these kinds of options, whose ids are their kinds.
inline std::string permissionQuestion(int id, const std::vector<std::string>& kinds, const std::string& name = "Option")
{
    JsonArray options;
    for (const std::string& kind : kinds) {
        options.push_back(JsonObject{ { "optionId", kind }, { "name", name }, { "kind", kind } });
    }
    return boost::json::serialize(JsonObject{ { "jsonrpc", "2.0" }, { "id", id }, { "method", "session/request_permission" },
        { "params", JsonObject{ { "toolCall", JsonObject{ { "title", "Ask " + std::to_string(id) } } }, { "options", options } } } });
}

} // namespace tessarin::testing
