#include "IngestBenchmarkStream.h"

#include <array>

namespace tessarin
{

namespace
{

// Pieces as a model emits them: short, some with what JSON escapes, some beyond ASCII. Second: what the piece is once it is read.
struct Piece {
    std::string_view json;
    std::string_view text;
};
constexpr std::array pieces{
    Piece{ "The reader ", "The reader " },
    Piece{ "keeps what is ", "keeps what is " },
    Piece{ "not \\\"whole\\\" ", "not \"whole\" " },
    Piece{ "yet:\\n", "yet:\n" },
    Piece{ "größere Werte ", "größere Werte " },
    Piece{ "line(;) {\\n    ", "line(;) {\n    " },
    Piece{ "for the next ", "for the next " },
};

constexpr std::size_t linesOfAMessage = 200; // so many updates lie between two answers with an id of their own
constexpr std::size_t roundLength = 40; // in a round: one tool call, one update of it, four thoughts, the rest is answer

// The lines of one dialect for a piece of text and for a tool call.
struct Text {
    std::size_t number = 0; // of the line
    bool isThought = false;
    std::string messageId;
    std::string_view json;
};
struct ToolCall {
    std::size_t number = 0; // of the line
    std::string id;
    bool isNew = true; // else it has ended
};

std::string acpLine(std::string_view kind, const std::string& rest)
{
    return R"({"jsonrpc":"2.0","method":"session/update","params":{"sessionId":")" + std::string(ingestSession)
        + R"(","update":{"sessionUpdate":")" + std::string(kind) + "\"," + rest + "}}}\n";
}

std::string acpLine(const Text& text)
{
    return acpLine(text.isThought ? "agent_thought_chunk" : "agent_message_chunk",
        R"("messageId":")" + text.messageId + R"(","content":{"type":"text","text":")" + std::string(text.json) + R"("})");
}

std::string acpLine(const ToolCall& call)
{
    const std::string named = R"("toolCallId":")" + call.id + R"(","title":"Read a file","status":)";
    return call.isNew ? acpLine("tool_call", named + R"("pending","kind":"read","rawInput":{"path":"src/line.cpp","limit":40})")
                      : acpLine("tool_call_update", named + R"("completed")");
}

// Each line bears a time of its own.
std::string codexLine(std::size_t number, std::string_view method, const std::string& rest)
{
    return R"({"method":")" + std::string(method) + R"(","params":{"threadId":")" + std::string(ingestSession) + R"(","turnId":")"
        + std::string(ingestTurn) + "\"," + rest + "},\"emittedAtMs\":" + std::to_string(1'795'199'468'972 + number) + "}\n";
}

std::string codexLine(const Text& text)
{
    return codexLine(text.number, text.isThought ? "item/reasoning/summaryTextDelta" : "item/agentMessage/delta",
        R"("itemId":")" + text.messageId + R"(","delta":")" + std::string(text.json) + "\"");
}

std::string codexLine(const ToolCall& call)
{
    return codexLine(call.number, call.isNew ? "item/started" : "item/completed",
        R"("item":{"type":"commandExecution","id":")" + call.id + R"(","command":"cat src/line.cpp","cwd":"/project","processId":null,)"
            + (call.isNew ? R"("status":"inProgress","aggregatedOutput":null,"exitCode":null})"
                          : R"("status":"completed","aggregatedOutput":"int line;\n","exitCode":0})"));
}

// Each line bears an id of its own.
std::string claudeLine(std::size_t number, const std::string& head)
{
    return head + R"(,"session_id":")" + std::string(ingestSession) + R"(","parent_tool_use_id":null,"uuid":"39466ed0-98d8-482b-95a0-)"
        + std::to_string(900'000'000'000 + number) + R"(","api_message_id":"msg_e1990caaf671d54d2bddcd1e"})" + "\n";
}

std::string claudeLine(const Text& text)
{
    const std::string key = text.isThought ? "thinking" : "text";
    return claudeLine(text.number,
        R"({"type":"stream_event","event":{"type":"content_block_delta","index":0,"delta":{"type":")" + key + R"(_delta",")" + key
            + R"(":")" + std::string(text.json) + R"("}})");
}

std::string claudeLine(const ToolCall& call)
{
    const std::string block = R"({"type":"tool_use","id":")" + call.id + R"(","name":"Read","input":)";
    return claudeLine(call.number,
        call.isNew
            ? R"({"type":"stream_event","event":{"type":"content_block_start","index":1,"content_block":)" + block + "{}}}"
            : R"({"type":"assistant","message":{"role":"assistant","content":[)" + block + R"({"path":"src/line.cpp","limit":40}}]})");
}

template <class Event>
std::string line(IngestDialect dialect, const Event& event)
{
    switch (dialect) {
    case IngestDialect::acp:
        return acpLine(event);
    case IngestDialect::codex:
        return codexLine(event);
    case IngestDialect::claude:
        return claudeLine(event);
    }
    return {};
}

class Writer
{
public:
    explicit Writer(IngestStream& stream) : m_stream(stream) { }

    void write(std::size_t number)
    {
        const std::size_t place = number % roundLength;
        if (place == 20 || place == 30) {
            writeTool({ m_stream.updates, "call-" + std::to_string(number / roundLength), place == 20 });
        } else {
            writeText(place % 10 == 5, number / linesOfAMessage, pieces[number % pieces.size()]);
        }
        ++m_stream.updates;
    }

private:
    void writeText(bool isThought, std::size_t message, const Piece& piece)
    {
        const Text text{ m_stream.updates, isThought, (isThought ? "thought-" : "message-") + std::to_string(message), piece.json };
        m_stream.bytes += line(m_stream.dialect, text);
        m_stream.firstPieceBytes = m_stream.updates == 0 ? piece.text.size() : m_stream.firstPieceBytes;
        m_stream.textBytes += piece.text.size();
        // Claude Code names no messages: all that a turn says is one, and all that it thinks.
        std::string& last = isThought ? m_lastThought : m_lastMessage;
        if (last.empty() || (last != text.messageId && m_stream.dialect != IngestDialect::claude)) {
            last = text.messageId;
            ++m_stream.entries;
        }
    }

    void writeTool(const ToolCall& call)
    {
        m_stream.bytes += line(m_stream.dialect, call);
        m_stream.entries += call.isNew ? 1 : 0;
    }

    IngestStream& m_stream;
    std::string m_lastMessage;
    std::string m_lastThought;
};

} // namespace

IngestStream IngestStream::make(IngestDialect dialect, std::size_t updates)
{
    IngestStream stream;
    stream.dialect = dialect;
    stream.bytes.reserve(updates * 240);
    Writer writer(stream);
    for (std::size_t number = 0; number < updates; ++number) {
        writer.write(number);
    }
    return stream;
}

} // namespace tessarin
