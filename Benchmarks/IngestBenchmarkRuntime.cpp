#include "IngestBenchmarkStream.h"
#include "Platform/Json.h"

#include <cerrno>
#include <iostream>
#include <string>
#include <unistd.h>
#include <utility>

namespace tessarin
{

namespace
{

// In pieces of the size of a pipe, as programs write; a reader that has gone ends the process by SIGPIPE.
void writeAll(std::string_view bytes)
{
    constexpr std::size_t pieceSize = 64 * 1024;
    while (!bytes.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, bytes.data(), std::min(bytes.size(), pieceSize));
        if (written < 0 && errno != EINTR) {
            _exit(1);
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

void answer(const JsonObject& request, JsonObject result)
{
    writeAll(compactJson(JsonObject{ { "jsonrpc", "2.0" }, { "id", request.at("id") }, { "result", std::move(result) } }) + "\n");
}

// What is written for a prompt: one line the first time, so that everything is warm, the whole stream each later time.
std::string_view nextTurn(const IngestStream& stream, bool& isWarm)
{
    const std::string_view all = stream.bytes;
    return std::exchange(isWarm, true) ? all : all.substr(0, all.find('\n') + 1);
}

void playAcp(const IngestStream& stream, const JsonObject& request, bool& isWarm)
{
    const std::string_view method = textAt(request, "method").value_or("");
    if (method == "initialize") {
        answer(request, { { "protocolVersion", 1 }, { "agentCapabilities", JsonObject{ { "loadSession", false } } } });
    } else if (method == "session/new") {
        answer(request, { { "sessionId", ingestSession } });
    } else if (method == "session/prompt") {
        writeAll(nextTurn(stream, isWarm));
        answer(request, { { "stopReason", "end_turn" } });
    }
}

void playCodex(const IngestStream& stream, const JsonObject& request, bool& isWarm)
{
    const std::string_view method = textAt(request, "method").value_or("");
    if (method == "thread/start") {
        answer(request, { { "thread", JsonObject{ { "id", ingestSession } } } });
    } else if (method == "turn/start") {
        answer(request, { { "turn", JsonObject{ { "id", ingestTurn } } } });
        writeAll(nextTurn(stream, isWarm));
        const JsonObject turn{ { "id", ingestTurn }, { "status", "completed" } };
        writeAll(compactJson(JsonObject{ { "method", "turn/completed" }, { "params", JsonObject{ { "turn", turn } } } }) + "\n");
    } else if (request.contains("id")) {
        answer(request, {});
    }
}

void playClaude(const IngestStream& stream, const JsonObject& message, bool& isWarm)
{
    const std::string_view type = textAt(message, "type").value_or("");
    if (type == "control_request") {
        const JsonObject response{ { "subtype", "success" }, { "request_id", message.at("request_id") }, { "response", JsonObject() } };
        writeAll(compactJson(JsonObject{ { "type", "control_response" }, { "response", response } }) + "\n");
    } else if (type == "user") {
        writeAll(nextTurn(stream, isWarm));
        writeAll(compactJson(JsonObject{ { "type", "result" }, { "subtype", "success" }, { "is_error", false } }) + "\n");
    }
}

} // namespace

int playIngestRuntime(const IngestStream& stream)
{
    bool isWarm = false;
    for (std::string line; std::getline(std::cin, line);) {
        const std::optional<Json> message = parseJson(line);
        if (!message || !message->is_object()) {
            return 2;
        }
        switch (stream.dialect) {
        case IngestDialect::acp:
            playAcp(stream, message->get_object(), isWarm);
            break;
        case IngestDialect::codex:
            playCodex(stream, message->get_object(), isWarm);
            break;
        case IngestDialect::claude:
            playClaude(stream, message->get_object(), isWarm);
            break;
        }
    }
    return 0;
}

} // namespace tessarin
