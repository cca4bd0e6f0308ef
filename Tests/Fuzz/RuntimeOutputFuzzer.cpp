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

// The updates in what a runtime wrote, told apart by the rules and not by the client.
Lines updatesIn(std::string_view output)
{
    Lines updates;
    for (auto end = output.find('\n'); end != std::string_view::npos; end = output.find('\n')) {
        const auto message = parseJson(output.substr(0, end));
        output.remove_prefix(end + 1);
        if (!message || !message->is_object() || integerAt(message->get_object(), "id")) {
            continue;
        }
        const JsonObject* params = objectAt(message->get_object(), "params");
        const JsonObject* update = params ? objectAt(*params, "update") : nullptr;
        if (update && textAt(message->get_object(), "method") == "session/update") {
            updates.push_back(compactJson(*update));
        }
    }
    return updates;
}

std::vector<std::string_view> cut(std::string_view output, std::size_t pieceSize)
{
    std::vector<std::string_view> pieces;
    while (!output.empty()) {
        pieces.push_back(output.substr(0, pieceSize));
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
    ACPClientPeer::open(
        *client, "stored",
        [&](const Result<AgentStartResult, AgentError>& result) {
            ++told.starts;
            told.events.push_back(result ? "started " + result.value().sessionId : "failed " + result.error().description());
            task.setReplaying(false);
        },
        [&](const JsonRpcReply&) { ++told.answers; });
    ACPClientPeer::feed(*client, pieces);
    ACPClientPeer::end(*client, 0);
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
    const Told whole = play({ output }, provider);
    fuzzRequire(whole.updates == updatesIn(output), "each update arrives once and in order, and nothing else does");
    if (choice % 65 != 0) {
        const Told pieces = play(cut(output, choice % 65), provider);
        fuzzRequire(pieces.updates == whole.updates && pieces.events == whole.events, "the cut makes no difference");
    }
    return 0;
}
