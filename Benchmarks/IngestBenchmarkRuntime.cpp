#include "IngestBenchmarkStream.h"
#include "Platform/Json.h"

#include <cerrno>
#include <iostream>
#include <string>
#include <unistd.h>

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

} // namespace

int playIngestRuntime(const IngestStream& stream)
{
    bool isWarm = false;
    for (std::string line; std::getline(std::cin, line);) {
        const std::optional<Json> message = parseJson(line);
        if (!message || !message->is_object()) {
            return 2;
        }
        const JsonObject& request = message->get_object();
        const std::string_view method = textAt(request, "method").value_or("");
        if (method == "initialize") {
            answer(request, { { "protocolVersion", 1 }, { "agentCapabilities", JsonObject{ { "loadSession", false } } } });
        } else if (method == "session/new") {
            answer(request, { { "sessionId", ingestSession } });
        } else if (method == "session/prompt") {
            writeAll(isWarm ? std::string_view(stream.bytes) : std::string_view(stream.bytes).substr(0, stream.bytes.find('\n') + 1));
            isWarm = true;
            answer(request, { { "stopReason", "end_turn" } });
        }
    }
    return 0;
}

} // namespace tessarin
