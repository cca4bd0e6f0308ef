#include "ACPClientPeer.h"
#include "FoldingCheck.h"
#include "FuzzTarget.h"
#include "Platform/MainThread.h"

#include <algorithm>

namespace tessarin
{
namespace
{

using Lines = std::vector<std::string>;

// What a runtime wrote, told apart by the rules and not by the client.
struct Expected {
    Lines updates;
    bool asksForFilesOrPrograms = false;
};

void addTo(Expected& expected, const JsonObject& message)
{
    const auto method = textAt(message, "method").value_or("");
    expected.asksForFilesOrPrograms = expected.asksForFilesOrPrograms || method.substr(0, 9) == "terminal/" || method.substr(0, 3) == "fs/";
    const JsonObject* params = objectAt(message, "params");
    const JsonObject* update = params ? objectAt(*params, "update") : nullptr;
    if (update && method == "session/update" && !integerAt(message, "id")) {
        expected.updates.push_back(compactJson(*update));
    }
}

Expected expectedOf(std::string_view output)
{
    Expected expected;
    for (auto end = output.find('\n'); end != std::string_view::npos; end = output.find('\n')) {
        if (const auto message = parseJson(output.substr(0, end)); message && message->is_object()) {
            addTo(expected, message->get_object());
        }
        output.remove_prefix(end + 1);
    }
    return expected;
}

// Into reads of this length, of twice this length, and so on: many cuts, few reads.
std::vector<std::string_view> cut(std::string_view output, std::size_t length)
{
    std::vector<std::string_view> pieces;
    while (!output.empty()) {
        pieces.push_back(output.substr(0, length * (pieces.size() + 1)));
        output.remove_prefix(pieces.back().size());
    }
    return pieces;
}

// What one client told in the course of one stream.
struct Told {
    Lines events;
    Lines updates;
    int starts = 0;
    int answers = 0;
    int terminations = 0;
};

void listen(ACPClient& client, Told& told, FoldingCheck& task)
{
    client.onSessionUpdate = [&](const SessionUpdate& update) {
        told.events.emplace_back("update");
        told.updates.push_back(compactJson(update));
        task.fold(update);
    };
    client.onPermissionRequest = [&](const PermissionRequest& request) {
        told.events.push_back("permission " + std::to_string(request.id) + request.title + request.detail);
    };
    client.onReplayStarted = [&] {
        told.events.emplace_back("replay");
        task.setReplaying(true);
    };
    client.onReplayFailed = [&] {
        told.events.emplace_back("replay failed");
        task.setReplaying(false);
    };
    client.onUnexpectedTermination = [&](const std::string&) { ++told.terminations; };
}

Told play(const std::vector<std::string_view>& pieces, AgentProvider provider)
{
    Told told;
    FoldingCheck task;
    MainThread mainThread;
    ACPClient::Configuration configuration;
    configuration.provider = provider;
    configuration.model = "model";
    const auto client = ACPClient::make(std::move(configuration), mainThread);
    listen(*client, told, task);
    ACPClientPeer::Waiting waiting;
    waiting.started = [&](const Result<AgentStartResult, AgentError>& result) {
        ++told.starts;
        told.events.push_back(result ? "started " + result.value().sessionId : "failed " + result.error().description());
        task.setReplaying(false);
    };
    waiting.answered = [&](const JsonRpcReply&) { ++told.answers; };
    ACPClientPeer::play(*client, "stored", std::move(waiting), pieces);
    mainThread.drain();
    client->stop();
    mainThread.drain();
    fuzzRequire(told.starts == 1, "a start completes once");
    fuzzRequire(told.answers == 1, "a request is answered once");
    fuzzRequire(told.terminations == 1, "the end of the child is told once");
    return told;
}

} // namespace
} // namespace tessarin

const tessarin::LongTextInput tessarin::longTextInput{
    R"(A{"method":"session/update","params":{"update":{"sessionUpdate":"agent_message_chunk","content":{"text":")", "\"}}}}\n"
};

// What a runtime writes, up to the task. The first byte says how the stream is cut into reads and who the runtime is; what arrives does not
// depend on the cut.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    const std::size_t choice = size == 0 ? 0 : data[0];
    const std::string_view output = asText(data, size).substr(std::min<std::size_t>(size, 1));
    const auto provider = std::array{ AgentProvider::grok, AgentProvider::kimi, AgentProvider::glm }[choice / 65 % 3];
    const Expected expected = expectedOf(output);
    if (expected.asksForFilesOrPrograms) {
        return 0; // nothing outside of this process is touched here; AgentRequestsFuzzer plays those
    }
    const Told whole = play({ output }, provider);
    fuzzRequire(whole.updates == expected.updates, "each update arrives once and in order, and nothing else does");
    if (choice % 65 != 0) {
        const Told pieces = play(cut(output, choice % 65), provider);
        fuzzRequire(pieces.updates == whole.updates && pieces.events == whole.events, "the cut makes no difference");
    }
    return 0;
}
