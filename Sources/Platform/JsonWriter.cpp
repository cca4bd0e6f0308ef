#include "Platform/Json.h"
#include "Platform/JsonText.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <vector>

namespace tessarin
{

namespace
{

using Member = JsonObject::value_type;

std::string_view viewOf(boost::json::string_view text)
{
    return { text.data(), text.size() };
}

template <class Integer>
void appendInteger(std::string& out, Integer value)
{
    char digits[24];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

// Writes a value by a stack of its own, so that no depth of nesting overflows that of the thread.
class JsonWriter
{
public:
    enum class Style { compact, pretty };

    explicit JsonWriter(Style style) : m_style(style) { }

    [[nodiscard]] std::string write(const Json& root)
    {
        open(root);
        while (!m_frames.empty()) {
            step();
        }
        return std::move(m_out);
    }

private:
    struct Frame {
        const JsonArray* array = nullptr;
        const JsonObject* object = nullptr;
        std::vector<const Member*> sorted{}; // of an object in pretty style
        std::size_t next = 0;
    };

    // A scalar is written whole; of a container the opening bracket, and its frame is pushed.
    void open(const Json& value)
    {
        if (const JsonArray* array = value.if_array()) {
            m_out += '[';
            m_frames.push_back({ .array = array });
        } else if (const JsonObject* object = value.if_object()) {
            m_out += '{';
            m_frames.push_back({ .object = object });
            if (m_style == Style::pretty) {
                sortMembers(m_frames.back());
            }
        } else {
            appendScalar(value);
        }
    }

    // The next element of the innermost container, or its end.
    void step()
    {
        Frame& frame = m_frames.back();
        const std::size_t count = frame.array ? frame.array->size() : frame.object->size();
        if (frame.next == count) {
            close(frame.array ? ']' : '}', count == 0);
            return;
        }
        if (frame.next > 0) {
            m_out += ',';
        }
        breakLine(m_frames.size());
        const std::size_t index = frame.next++;
        if (frame.array) {
            open((*frame.array)[index]);
            return;
        }
        const Member& member
            = m_style == Style::pretty ? *frame.sorted[index] : *(frame.object->begin() + static_cast<std::ptrdiff_t>(index));
        appendText(viewOf(member.key()));
        m_out += m_style == Style::pretty ? " : " : ":";
        open(member.value());
    }

    void close(char bracket, bool isEmpty)
    {
        m_frames.pop_back();
        if (isEmpty && m_style == Style::pretty) {
            m_out += '\n';
        }
        breakLine(m_frames.size());
        m_out += bracket;
    }

    void breakLine(std::size_t level)
    {
        if (m_style == Style::pretty) {
            m_out += '\n';
            m_out.append(2 * level, ' ');
        }
    }

    static void sortMembers(Frame& frame)
    {
        frame.sorted.reserve(frame.object->size());
        for (const Member& member : *frame.object) {
            frame.sorted.push_back(&member);
        }
        std::sort(frame.sorted.begin(), frame.sorted.end(), [](const Member* a, const Member* b) { return a->key() < b->key(); });
    }

    void appendText(std::string_view text)
    {
        appendJsonText(m_out, text, m_style == Style::pretty ? SolidusForm::escaped : SolidusForm::plain);
    }

    void appendScalar(const Json& value)
    {
        switch (value.kind()) {
        case boost::json::kind::string:
            appendText(viewOf(value.get_string()));
            break;
        case boost::json::kind::int64:
            appendInteger(m_out, value.get_int64());
            break;
        case boost::json::kind::uint64:
            appendInteger(m_out, value.get_uint64());
            break;
        case boost::json::kind::double_:
            appendJsonNumber(m_out, value.get_double());
            break;
        case boost::json::kind::bool_:
            m_out += value.get_bool() ? "true" : "false";
            break;
        case boost::json::kind::null:
            m_out += "null";
            break;
        case boost::json::kind::array:
        case boost::json::kind::object:
            assert(false);
            break;
        }
    }

    const Style m_style;
    std::string m_out;
    std::vector<Frame> m_frames;
};

} // namespace

std::string compactJson(const Json& value)
{
    return JsonWriter(JsonWriter::Style::compact).write(value);
}

std::optional<std::string> prettyJson(const Json& value)
{
    if ((!value.is_array() && !value.is_object()) || !isValidJson(value)) {
        return std::nullopt;
    }
    return JsonWriter(JsonWriter::Style::pretty).write(value);
}

} // namespace tessarin
