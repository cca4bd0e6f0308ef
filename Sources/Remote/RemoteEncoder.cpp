#include "Platform/JsonText.h"
#include "Remote/RemoteCoder.h"
#include "Remote/RemoteFields.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace tessarin
{

namespace
{

// The bytes of lists that a snapshot shares with the one before it, each without its brackets.
class ListBytes
{
public:
    void beginRound() { ++m_round; }
    void forgetUnused()
    {
        std::erase_if(m_lists, [this](const auto& list) { return list.second.lastRound != m_round; });
    }

    // Null when there are none yet.
    [[nodiscard]] const ByteRope::Piece* find(const std::shared_ptr<const void>& identity)
    {
        const auto found = m_lists.find(identity);
        if (found == m_lists.end()) {
            return nullptr;
        }
        found->second.lastRound = m_round;
        return &found->second.bytes;
    }
    const ByteRope::Piece& keep(std::shared_ptr<const void> identity, std::string_view bytes)
    {
        return m_lists.insert_or_assign(std::move(identity), Kept{ ByteRope::makePiece(bytes), m_round }).first->second.bytes;
    }

private:
    struct Kept {
        ByteRope::Piece bytes;
        std::uint64_t lastRound = 0; // in which a message had the list
    };
    // The key keeps the list alive, so that no other one gets its address.
    std::unordered_map<std::shared_ptr<const void>, Kept> m_lists;
    std::uint64_t m_round = 0;
};

// Writes one message. Each step is false when the message can't be written; what is there is then of no use.
class MessageWriter
{
public:
    MessageWriter(ListBytes& lists, std::size_t byteLimit) : m_lists(lists), m_byteLimit(byteLimit) { }

    [[nodiscard]] bool write(const std::string& text)
    {
        // No text is shorter in JSON: one that is too long is not even begun.
        if (!hasRoom(text.size())) {
            return false;
        }
        appendJsonText(m_text, text);
        return hasRoom(0);
    }

    [[nodiscard]] bool write(bool value)
    {
        m_text += value ? "true" : "false";
        return hasRoom(0);
    }

    [[nodiscard]] bool write(double value)
    {
        if (!std::isfinite(value)) {
            return false;
        }
        appendJsonNumber(m_text, value);
        return hasRoom(0);
    }

    [[nodiscard]] bool write(std::int64_t value)
    {
        std::array<char, 24> digits; // the longest has 20
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
        m_text.append(digits.data(), end);
        return hasRoom(0);
    }

    template <class Value>
    [[nodiscard]] bool write(const Shared<Value>& value)
    {
        return write(*value);
    }

    template <class Value>
    [[nodiscard]] bool write(const std::vector<Value>& values)
    {
        m_text += '[';
        const bool isWritten = writeElements(values);
        m_text += ']';
        return isWritten && hasRoom(0);
    }

    [[nodiscard]] bool write(const Shared<std::vector<RemoteImagineItem>>& items)
    {
        m_text += '[';
        const bool isWritten = items->empty() || writeList(items);
        m_text += ']';
        return isWritten && hasRoom(0);
    }

    [[nodiscard]] bool write(const std::vector<RemoteThread::Run>& runs)
    {
        char separator = '[';
        for (const RemoteThread::Run& run : runs) {
            if (run->empty()) {
                continue;
            }
            m_text += std::exchange(separator, ',');
            if (!writeList(run)) {
                return false;
            }
        }
        m_text += separator == '[' ? "[]" : "]";
        return hasRoom(0);
    }

    template <RemoteRecord Record>
    [[nodiscard]] bool write(const Record& record)
    {
        char separator = '{';
        const bool isWritten
            = std::apply([&](const auto&... fields) { return (writeField(separator, fields.key, record.*fields.member) && ...); },
                RemoteFields<Record>::list);
        m_text += '}';
        return isWritten && hasRoom(0);
    }

    [[nodiscard]] ByteRope takeBytes()
    {
        flush();
        return std::move(m_rope);
    }

private:
    [[nodiscard]] bool hasRoom(std::size_t byteCount) const
    {
        const std::size_t used = m_rope.size() + m_text.size();
        return used <= m_byteLimit && byteCount <= m_byteLimit - used;
    }

    template <class Value>
    [[nodiscard]] bool writeField(char& separator, std::string_view key, const Value& value)
    {
        m_text += std::exchange(separator, ',');
        m_text += '"';
        m_text += key; // plain, without anything to escape
        m_text += "\":";
        return write(value);
    }

    template <class Value>
    [[nodiscard]] bool writeField(char& separator, std::string_view key, const std::optional<Value>& value)
    {
        return !value || writeField(separator, key, *value);
    }

    template <class Value>
    [[nodiscard]] bool writeElements(const std::vector<Value>& values)
    {
        for (const Value& value : values) {
            if (&value != values.data()) {
                m_text += ',';
            }
            if (!write(value)) {
                return false;
            }
        }
        return true;
    }

    // Requires: the list is not empty.
    template <class Value>
    [[nodiscard]] bool writeList(const Shared<std::vector<Value>>& list)
    {
        flush();
        const ByteRope::Piece* bytes = m_lists.find(list.identity());
        if (bytes == nullptr) {
            MessageWriter elements(m_lists, m_byteLimit - std::min(m_byteLimit, m_rope.size()));
            if (!elements.writeElements(*list)) {
                return false;
            }
            bytes = &m_lists.keep(list.identity(), elements.m_text);
        }
        m_rope.append(*bytes);
        return hasRoom(0);
    }

    void flush()
    {
        if (!m_text.empty()) {
            m_rope.append(std::exchange(m_text, {}));
        }
    }

    ListBytes& m_lists;
    const std::size_t m_byteLimit;
    ByteRope m_rope; // what is written
    std::string m_text; // and what follows it
};

} // namespace

struct RemoteEncoder::Implementation {
    ListBytes lists;
};

RemoteEncoder::RemoteEncoder() : m_implementation(std::make_unique<Implementation>()) { }

RemoteEncoder::~RemoteEncoder() = default;

std::optional<ByteRope> RemoteEncoder::encode(const RemoteEnvelope& envelope, std::size_t byteLimit)
{
    ListBytes& lists = m_implementation->lists;
    // Messages between two snapshots leave what is kept alone.
    const bool hasLists = envelope.snapshot.has_value();
    if (hasLists) {
        lists.beginRound();
    }
    MessageWriter writer(lists, byteLimit);
    const bool isWritten = writer.write(envelope);
    if (hasLists) {
        lists.forgetUnused();
    }
    return isWritten ? std::optional(writer.takeBytes()) : std::nullopt;
}

} // namespace tessarin
