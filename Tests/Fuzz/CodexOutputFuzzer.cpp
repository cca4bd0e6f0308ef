#include "CodexAppServerClientPeer.h"
#include "FoldingCheck.h"
#include "FuzzTarget.h"
#include "Platform/MainThread.h"
#include "Platform/Uuid.h"

#include <algorithm>

namespace tessarin
{
namespace
{

using Lines = std::vector<std::string>;

// What a runtime wrote, counted by the rules and not by the client.
struct Expected {
    std::size_t deltas = 0;
    std::size_t tools = 0;
    std::size_t plans = 0;
    std::size_t questions = 0;

    void add(const JsonObject& message);

private:
    void addNotification(std::string_view method, const JsonObject& params);
};

bool isOneOf(std::string_view text, std::initializer_list<std::string_view> words)
{
    return std::find(words.begin(), words.end(), text) != words.end();
}

void Expected::add(const JsonObject& message)
{
    static const JsonObject none;
    const auto method = textAt(message, "method");
    const JsonObject* found = objectAt(message, "params");
    const Json* id = message.if_contains("id");
    if (!method) {
        return;
    }
    if (id && (id->is_string() || (id->is_number() && integerAt(message, "id")))) {
        questions += isOneOf(
            *method, { "item/commandExecution/requestApproval", "item/fileChange/requestApproval", "item/permissions/requestApproval" });
    } else {
        addNotification(*method, found ? *found : none);
    }
}

void Expected::addNotification(std::string_view method, const JsonObject& params)
{
    if (isOneOf(method, { "item/agentMessage/delta", "item/reasoning/summaryTextDelta", "item/reasoning/textDelta" })) {
        deltas += textAt(params, "itemId") && textAt(params, "delta");
    } else if (isOneOf(method, { "item/started", "item/completed" })) {
        const JsonObject* item = objectAt(params, "item");
        const auto type = item ? textAt(*item, "type") : std::nullopt;
        tools += type && isOneOf(*type, { "commandExecution", "fileChange", "mcpToolCall", "dynamicToolCall", "webSearch", "imageView" });
    } else {
        plans += method == "turn/plan/updated";
    }
}

Expected expectedOf(std::string_view output)
{
    Expected expected;
    for (auto end = output.find('\n'); end != std::string_view::npos; end = output.find('\n')) {
        if (const auto message = parseJson(output.substr(0, end)); message && message->is_object()) {
            expected.add(message->get_object());
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
    std::size_t chunks = 0;
    std::size_t tools = 0;
    std::size_t plans = 0;
    std::size_t questions = 0;
    int starts = 0;
    int turns = 0;
    int terminations = 0;

    void addUpdate(const SessionUpdate& update, std::string_view output);
};

// An item without an id gets one.
bool isByChance(std::string_view id, std::string_view output)
{
    constexpr std::size_t length = 36;
    const std::string_view end = id.substr(id.size() - std::min(id.size(), length));
    return Uuid::parse(end) && output.find(end) == std::string_view::npos;
}

void Told::addUpdate(const SessionUpdate& update, std::string_view output)
{
    const auto kind = textAt(update, "sessionUpdate").value_or("");
    JsonObject shown = keptCopy(update);
    chunks += isOneOf(kind, { "agent_message_chunk", "agent_thought_chunk" });
    plans += kind == "plan";
    tools += kind == "tool_call_update";
    fuzzRequire(isOneOf(kind, { "agent_message_chunk", "agent_thought_chunk", "plan", "tool_call_update" }), "no other update is made");
    for (const char* key : { "toolCallId", "messageId" }) {
        if (const auto id = textAt(update, key); id && isByChance(*id, output)) {
            shown[key] = "by chance";
        }
    }
    events.push_back(compactJson(shown));
}

void listen(CodexAppServerClient& client, Told& told, FoldingCheck& task, std::string_view output)
{
    client.onSessionUpdate = [&told, &task, output](const SessionUpdate& update) {
        told.addUpdate(update, output);
        task.fold(update);
    };
    client.onPermissionRequest = [&told](const PermissionRequest& request) {
        ++told.questions;
        fuzzRequire(request.id == static_cast<std::int64_t>(told.questions), "questions are numbered");
        fuzzRequire(!request.detail.empty() && request.options.size() == 3, "a person sees what is asked");
        told.events.push_back("permission " + request.title + request.detail);
    };
    client.onUsageUpdate = [&told](const ProviderUsage& usage) { told.events.push_back("usage " + usage.compactLabel()); };
    client.onReplayStarted = [] { fuzzRequire(false, "nothing is replayed"); };
    client.onReplayFailed = client.onReplayStarted;
    client.onUnexpectedTermination = [&told](const std::string&) { ++told.terminations; };
}

Told play(std::string_view output, const std::vector<std::string_view>& pieces)
{
    Told told;
    FoldingCheck task;
    MainThread mainThread;
    const auto client = CodexAppServerClient::make({}, mainThread);
    listen(*client, told, task, output);
    CodexAppServerClientPeer::Waiting waiting;
    waiting.started = [&told](const Result<AgentStartResult, AgentError>& result) {
        ++told.starts;
        told.events.push_back(result ? "started " + result.value().sessionId : "failed " + result.error().description());
    };
    waiting.ended = [&told](const Result<JsonObject, AgentError>& result) {
        ++told.turns;
        told.events.push_back(result ? "turn " + compactJson(Json(result.value())) : "failed " + result.error().description());
    };
    CodexAppServerClientPeer::play(*client, "stored", std::move(waiting), pieces);
    mainThread.drain();
    for (std::size_t question = 1; question <= told.questions; question += 2) {
        client->respondToPermission(static_cast<std::int64_t>(question), "codex-allow-once");
    }
    client->cancel();
    client->stop();
    CodexAppServerClientPeer::wait(*client);
    mainThread.drain();
    fuzzRequire(told.starts == 1, "a start completes once");
    fuzzRequire(told.turns == 1, "a prompt completes once");
    fuzzRequire(told.terminations == 1, "the end of the child is told once");
    return told;
}

} // namespace
} // namespace tessarin

const tessarin::LongTextInput tessarin::longTextInput{ R"(A{"method":"item/agentMessage/delta","params":{"itemId":"m","delta":")",
    "\"}}\n" };

// What Codex writes, up to the task. The first byte says how the stream is cut into reads; what arrives does not depend on the cut.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    const std::size_t choice = size == 0 ? 0 : data[0];
    const std::string_view output = asText(data, size).substr(std::min<std::size_t>(size, 1));
    const Expected expected = expectedOf(output);
    const Told whole = play(output, { output });
    fuzzRequire(whole.chunks >= expected.deltas, "each delta arrives");
    fuzzRequire(whole.tools == expected.tools, "each tool arrives, and nothing else for one");
    fuzzRequire(whole.plans == expected.plans, "each plan arrives, and nothing else for one");
    fuzzRequire(whole.questions == expected.questions, "each question is put before the person");
    if (choice % 65 != 0) {
        fuzzRequire(play(output, cut(output, choice % 65)).events == whole.events, "the cut makes no difference");
    }
    return 0;
}
