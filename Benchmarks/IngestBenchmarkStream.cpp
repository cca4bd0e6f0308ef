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

class Writer
{
public:
    explicit Writer(IngestStream& stream) : m_stream(stream) { }

    void write(std::size_t number)
    {
        const std::size_t place = number % roundLength;
        if (place == 20 || place == 30) {
            writeTool(number / roundLength, place == 20);
        } else {
            const bool isThought = place % 10 == 5;
            writeText(isThought ? "agent_thought_chunk" : "agent_message_chunk",
                (isThought ? "thought-" : "message-") + std::to_string(number / linesOfAMessage), pieces[number % pieces.size()]);
        }
        ++m_stream.updates;
    }

private:
    void begin(std::string_view kind)
    {
        m_stream.bytes.append(R"({"jsonrpc":"2.0","method":"session/update","params":{"sessionId":")").append(ingestSession);
        m_stream.bytes.append(R"(","update":{"sessionUpdate":")").append(kind).append("\",");
    }

    void writeText(std::string_view kind, const std::string& messageId, const Piece& piece)
    {
        begin(kind);
        m_stream.bytes.append(R"("messageId":")").append(messageId).append(R"(","content":{"type":"text","text":")").append(piece.json);
        m_stream.bytes.append("\"}}}}\n");
        m_stream.firstPieceBytes = m_stream.updates == 0 ? piece.text.size() : m_stream.firstPieceBytes;
        m_stream.textBytes += piece.text.size();
        std::string& last = kind == "agent_thought_chunk" ? m_lastThought : m_lastMessage;
        if (last != messageId) {
            last = messageId;
            ++m_stream.entries;
        }
    }

    void writeTool(std::size_t call, bool isNew)
    {
        begin(isNew ? "tool_call" : "tool_call_update");
        m_stream.bytes.append(R"("toolCallId":"call-)").append(std::to_string(call)).append(R"(","title":"Read a file","status":")");
        m_stream.bytes.append(isNew ? "pending" : "completed").append("\"");
        if (isNew) {
            m_stream.bytes.append(R"(,"kind":"read","rawInput":{"path":"src/line.cpp","limit":40})");
            ++m_stream.entries;
        }
        m_stream.bytes.append("}}}\n");
    }

    IngestStream& m_stream;
    std::string m_lastMessage;
    std::string m_lastThought;
};

} // namespace

IngestStream IngestStream::make(std::size_t updates)
{
    IngestStream stream;
    stream.bytes.reserve(updates * 240);
    Writer writer(stream);
    for (std::size_t number = 0; number < updates; ++number) {
        writer.write(number);
    }
    return stream;
}

} // namespace tessarin
