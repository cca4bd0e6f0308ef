#include "ACPClientPeer.h"
#include "FuzzTarget.h"
#include "Platform/MainThread.h"
#include "Playground.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <thread>

namespace tessarin
{
namespace
{

using Counts = std::map<std::int64_t, int>; // by the id of a request

// The answers that a client has written, from whatever thread.
class Answers
{
public:
    void add(std::string_view line)
    {
        const auto message = parseJson(line);
        fuzzRequire(message && message->is_object(), "what is written is an object");
        const JsonObject& object = message->get_object();
        fuzzRequire(textAt(object, "jsonrpc") == "2.0", "what is written names its protocol");
        if (object.contains("method")) {
            return; // the word that a turn is cancelled
        }
        fuzzRequire(object.contains("result") != object.contains("error"), "an answer is a result or an error");
        if (const JsonObject* error = objectAt(object, "error")) {
            const auto code = integerAt(*error, "code");
            fuzzRequire(textAt(*error, "message") && (code == -32603 || code == -32601), "an error has a code and a text");
        }
        const std::lock_guard lock(m_mutex);
        ++m_counts[object.at("id").as_int64()];
        ++m_total;
        m_last = object;
        m_arrived.notify_all();
    }
    [[nodiscard]] int total() const
    {
        const std::lock_guard lock(m_mutex);
        return m_total;
    }
    [[nodiscard]] JsonObject last() const
    {
        const std::lock_guard lock(m_mutex);
        return m_last;
    }
    // All of them, once there are so many.
    [[nodiscard]] Counts await(int total) const
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait_for(lock, std::chrono::seconds(8), [&] { return m_total >= total; });
        return m_counts;
    }

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_arrived;
    Counts m_counts;
    int m_total = 0;
    JsonObject m_last;
};

// The harness keeps an agent from doing harm by this alone: only these programs run, which read nothing, write nothing and end at once,
// in no environment that makes others of them; and few of them, since each takes its time.
bool isHarmless(const JsonObject& params)
{
    constexpr std::array<std::string_view, 3> programs{ "true", "false", "no-such-program" };
    const auto command = textAt(params, "command").value_or("");
    const JsonArray* environment = arrayAt(params, "env");
    const auto isDangerous = [](const Json& entry) {
        const auto name = entry.is_object() ? textAt(entry.get_object(), "name").value_or("") : std::string_view();
        return name == "PATH" || name.starts_with("LD_");
    };
    return (command.empty() || std::find(programs.begin(), programs.end(), command) != programs.end())
        && (!environment || std::none_of(environment->begin(), environment->end(), isDangerous));
}

constexpr int mostPrograms = 2;

// One agent against one client: what it asks line by line, and how often each of its requests has to be answered, told by the rules and
// not by the client.
class Conversation
{
public:
    Conversation(AgentProvider provider, GrokPermissionMode mode, const std::string& project) : m_approves(isApproving(provider, mode))
    {
        ACPClient::Configuration configuration;
        configuration.provider = provider;
        configuration.permissionMode = mode;
        configuration.workspacePath = project;
        configuration.terminalEnvironment = { { "PATH", "/usr/bin:/bin" } };
        m_client = ACPClient::make(std::move(configuration), m_mainThread);
        m_client->onPermissionRequest = [this](const PermissionRequest& request) { m_shown.push_back(request); };
    }

    void ask(std::string_view lines)
    {
        const auto next = [&]() -> std::optional<std::string> {
            checkLastLine();
            const std::size_t end = lines.find('\n');
            if (end == std::string_view::npos) {
                return std::nullopt;
            }
            std::string line = withTerminals(lines.substr(0, end + 1));
            lines.remove_prefix(end + 1);
            return expect(line) ? std::optional(line) : std::nullopt;
        };
        ACPClientPeer::converse(
            *m_client, [this](std::string_view line) { m_answers.add(line); }, next);
        m_mainThread.drain();
        fuzzRequire(idsOf(m_shown) == m_toBeShown, "each permission request is shown once, in order");
    }

    // Every second request is answered by the person, twice, and once more when it is too late.
    void answer()
    {
        for (std::size_t number = 0; number < m_shown.size(); number += 2) {
            for (const char* option : { "first", "again" }) {
                m_client->respondToPermission(m_shown[number].id, option);
                m_due[m_shown[number].id] += static_cast<int>(m_open.erase(m_shown[number].id));
            }
        }
        m_client->cancel();
        for (const std::int64_t id : m_open) {
            ++m_due[id];
        }
        for (const PermissionRequest& request : m_shown) {
            m_client->respondToPermission(request.id, "late");
        }
    }

    void end()
    {
        int total = 0;
        std::erase_if(m_due, [](const auto& due) { return due.second == 0; });
        for (const auto& [id, count] : m_due) {
            total += count;
        }
        const Counts answered = m_answers.await(total);
        fuzzRequire(answered == m_due, "each request is answered once, and nothing else is");
        m_client->stop();
        m_mainThread.drain();
        fuzzRequire(m_answers.total() == total, "nothing is answered after a stop");
    }

private:
    static bool isApproving(AgentProvider provider, GrokPermissionMode mode)
    {
        return provider == AgentProvider::glm && mode == GrokPermissionMode::fullAccess;
    }
    static std::vector<std::int64_t> idsOf(const std::vector<PermissionRequest>& requests)
    {
        std::vector<std::int64_t> ids;
        ids.reserve(requests.size());
        for (const PermissionRequest& request : requests) {
            ids.push_back(request.id);
        }
        return ids;
    }

    // Ids of terminals are not known before they are made: {0} stands for the first one, {1} for the second.
    [[nodiscard]] std::string withTerminals(std::string_view line) const
    {
        std::string text(line);
        for (std::size_t number = 0; number < m_terminals.size(); ++number) {
            const std::string mark = "{" + std::to_string(number) + "}";
            for (std::size_t place = 0; (place = text.find(mark, place)) != std::string::npos; place += m_terminals[number].size()) {
                text.replace(place, mark.size(), m_terminals[number]);
            }
        }
        return text;
    }

    // False for a line that must not be played.
    bool expect(const std::string& line)
    {
        const auto message = parseJson(std::string_view(line).substr(0, line.size() - 1));
        m_method.clear();
        m_answersBefore = m_answers.total();
        m_isDueAtOnce = false;
        if (!message || !message->is_object()) {
            return true;
        }
        const JsonObject& object = message->get_object();
        const auto id = integerAt(object, "id");
        const auto method = textAt(object, "method");
        if (!id || !method) {
            return true;
        }
        static const JsonObject none;
        const JsonObject* params = objectAt(object, "params");
        m_method = *method;
        return expectRequest(*id, params ? *params : none);
    }

    bool expectRequest(std::int64_t id, const JsonObject& params)
    {
        const auto terminal = textAt(params, "terminalId");
        m_terminal = terminal.value_or("");
        if (m_method == "terminal/create" && (!isHarmless(params) || ++m_programs > mostPrograms)) {
            return false;
        }
        if (m_method == "session/request_permission" && !(m_approves && isAllowedBy(params))) {
            m_open.insert(id);
            m_toBeShown.push_back(id);
            return true;
        }
        ++m_due[id];
        // Waiting for a terminal that there is: answered when its program has ended, which all of them do.
        m_isDueAtOnce = m_method != "terminal/wait_for_exit" || !m_living.contains(m_terminal);
        return true;
    }

    // Whether one of the options that count gives the permission.
    static bool isAllowedBy(const JsonObject& params)
    {
        const JsonArray* options = arrayAt(params, "options");
        if (!options || std::any_of(options->begin(), options->end(), [](const Json& option) { return !option.is_object(); })) {
            return false;
        }
        return std::any_of(options->begin(), options->end(), [](const Json& value) {
            const JsonObject& option = value.get_object();
            const auto kind = textAt(option, "kind").value_or("allow_once");
            return textAt(option, "optionId") && textAt(option, "name") && (kind == "allow_once" || kind == "allow_always");
        });
    }

    // Called when the client has handled the line before.
    void checkLastLine()
    {
        fuzzRequire(m_answers.total() - m_answersBefore == (m_isDueAtOnce ? 1 : 0), "what can be answered at once is");
        if (!m_isDueAtOnce) {
            return;
        }
        const JsonObject last = m_answers.last();
        const JsonObject* result = objectAt(last, "result");
        if (m_method == "terminal/create" && result) {
            m_terminals.emplace_back(textAt(*result, "terminalId").value_or(""));
            m_living.insert(m_terminals.back());
        } else if (m_method == "terminal/release" && result) {
            fuzzRequire(m_living.erase(m_terminal) == 1, "only a terminal that there is can be released");
        }
        m_isDueAtOnce = false;
        m_answersBefore = m_answers.total();
    }

    const bool m_approves;
    MainThread m_mainThread;
    std::shared_ptr<ACPClient> m_client;
    Answers m_answers;
    Counts m_due;
    std::set<std::int64_t> m_open; // permission requests that nobody has answered
    std::vector<std::int64_t> m_toBeShown;
    std::vector<PermissionRequest> m_shown;
    std::vector<std::string> m_terminals; // all that were made
    std::set<std::string> m_living; // those of them that were not released
    int m_programs = 0;
    // Of the line that the client handles.
    std::string m_method;
    std::string m_terminal;
    int m_answersBefore = 0;
    bool m_isDueAtOnce = false;
};

} // namespace
} // namespace tessarin

const tessarin::LongTextInput tessarin::longTextInput{ R"(A{"id":1,"method":"fs/write_text_file","params":{"path":"long","content":")",
    "\"}}\n" };

// What an agent asks of its client: files, terminals, permissions, and what nobody offers. The first byte says who it is and in which mode.
// Its files are those of a folder that is thrown away, and are confined to it by the rules under test.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    static const Playground playground;
    const std::size_t choice = size == 0 ? 0 : data[0];
    const auto provider = std::array{ AgentProvider::grok, AgentProvider::kimi, AgentProvider::glm }[choice % 3];
    const auto mode = choice / 3 % 2 == 0 ? GrokPermissionMode::ask : GrokPermissionMode::fullAccess;
    Conversation conversation(provider, mode, playground.project());
    conversation.ask(asText(data, size).substr(std::min<std::size_t>(size, 1)));
    conversation.answer();
    conversation.end();
    fuzzRequire(playground.holdsTheProjectAlone(), "nothing is written outside of the project");
    playground.clear();
    return 0;
}
