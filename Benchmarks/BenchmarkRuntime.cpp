#include "BenchmarkRuntime.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <thread>

namespace tessarin
{

namespace
{

void say(JsonObject message)
{
    message["jsonrpc"] = "2.0";
    std::cout << compactJson(message) << std::endl;
}

void stream(const std::string& text, const std::string& id)
{
    const std::size_t chunks = text.size() / chunkBytes;
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < chunks; ++i) {
        std::this_thread::sleep_until(start + std::chrono::duration<double>(static_cast<double>(i) / chunksPerSecond));
        const JsonObject content{ { "type", "text" }, { "text", text.substr(i * chunkBytes, chunkBytes) } };
        const JsonObject update{ { "sessionUpdate", "agent_message_chunk" }, { "messageId", id }, { "content", content } };
        say({ { "method", "session/update" }, { "params", JsonObject{ { "sessionId", "s" }, { "update", update } } } });
    }
}

void storm(std::size_t updates, TextShape shape)
{
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < updates; ++i) {
        const JsonObject update{ { "sessionUpdate", "tool_call_update" }, { "toolCallId", stormCall }, { "title", "Run command" },
            { "status", "in_progress" }, { "rawInput", stormInput(i, shape) } };
        std::this_thread::sleep_until(start + std::chrono::duration<double>(static_cast<double>(i) / stormUpdatesPerSecond));
        say({ { "method", "session/update" }, { "params", JsonObject{ { "sessionId", "s" }, { "update", update } } } });
    }
}

// The text of the prompt, which the program sends as the first block of its content.
std::string promptOf(const JsonObject& request)
{
    const JsonObject* parameters = objectAt(request, "params");
    const JsonArray* blocks = parameters != nullptr ? arrayAt(*parameters, "prompt") : nullptr;
    const JsonObject* first = blocks != nullptr && !blocks->empty() ? blocks->front().if_object() : nullptr;
    return std::string(first != nullptr ? textAt(*first, "text").value_or("") : "");
}

void answerPrompt(const std::string& prompt, std::size_t turn)
{
    const std::string_view text = prompt;
    const auto count = static_cast<std::size_t>(std::strtoull(prompt.c_str() + prompt.find_last_of(' ') + 1, nullptr, 10));
    const std::string id = "answer-" + std::to_string(turn);
    if (text.starts_with("stream ")) {
        stream(markdownOf(count * chunkBytes), id);
    } else if (text.starts_with("line ")) {
        stream(lineOf(count * chunkBytes), id);
    } else if (text.starts_with("code ")) {
        stream("```cpp\n" + lineOf(count * chunkBytes), id);
    } else if (text.starts_with("storm ")) {
        storm(count, text.starts_with("storm line ") ? TextShape::line : TextShape::lines);
    } else if (text.starts_with("wait ")) {
        std::this_thread::sleep_for(std::chrono::seconds(count));
    }
}

int play()
{
    std::size_t turn = 0;
    for (std::string line; std::getline(std::cin, line);) {
        const auto message = parseJson(line);
        const JsonObject* object = message ? message->if_object() : nullptr;
        if (object == nullptr || !object->contains("id")) {
            continue;
        }
        if (textAt(*object, "method") == "session/prompt") {
            answerPrompt(promptOf(*object), turn++);
        }
        say({ { "id", object->at("id") }, { "result", JsonObject{ { "sessionId", "s" } } } });
    }
    return 0;
}

} // namespace

JsonObject stormInput(std::size_t update, TextShape shape)
{
    JsonArray lines;
    std::string whole;
    for (std::size_t bytes = 0; bytes < stormBytes;) {
        const std::string line = "[ 42%] Building CXX object src/CMakeFiles/queue.dir/upload_queue.cpp.o: byte " + std::to_string(bytes);
        bytes += line.size();
        shape == TextShape::lines ? static_cast<void>(lines.emplace_back(line)) : static_cast<void>(whole += line + '\n');
    }
    if (shape == TextShape::lines) {
        lines.emplace_back("update " + std::to_string(update));
        return { { "command", "make" }, { "output", std::move(lines) } };
    }
    constexpr std::size_t bytesAnUpdate = 7;
    std::rotate(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(update * bytesAnUpdate % whole.size()), whole.end());
    return { { "command", "make" }, { "output", std::move(whole) } };
}

std::string lineOf(std::size_t bytes)
{
    std::string text;
    for (std::size_t part = 0; text.size() < bytes; ++part) {
        text += text.size() < bytes / 2 ? "aGVsbG8" + std::to_string(part) : " the " + std::to_string(part) + "th attempt waits no longer";
    }
    text.resize(bytes);
    return text;
}

std::string markdownOf(std::size_t bytes)
{
    constexpr std::string_view section
        = "## The queue waits too long\n\nThe queue waits a **fixed 2 s** after every failure, so a burst of failures keeps *all* the "
          "uploads back, see [the log](https://example.com/log). With `backoff(attempt)` the first retry comes at once.\n\n"
          "- one place decides how long to wait\n- the jitter comes from `Random`\n  - and is tested with a fixed seed\n\n"
          "```cpp\nstd::chrono::milliseconds backoff(int attempt)\n{\n    return 100ms * (1 << std::min(attempt, 6));\n}\n```\n\n"
          "| attempt | wait |\n|---|---|\n| 1 | 100 ms |\n| 2 | 200 ms |\n\n";
    std::string text;
    while (text.size() < bytes) {
        text += section;
    }
    text.resize(bytes);
    return text;
}

std::optional<int> playBenchmarkRuntime(int argc, char** argv)
{
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (first == "agent") {
        return play();
    }
    // What the model asks of a runtime that it finds, the version above all.
    if (!first.empty() && (!first.starts_with("--") || first == "--version")) {
        std::puts("1.0.0");
        return 0;
    }
    return std::nullopt;
}

} // namespace tessarin
