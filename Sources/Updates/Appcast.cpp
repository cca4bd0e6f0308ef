#include "Updates/Appcast.h"

#include "Platform/Text.h"
#include "Updates/ReleaseStatement.h"

#include <expat.h>

#include <array>
#include <charconv>
#include <memory>
#include <utility>

namespace tessarin
{

namespace
{

// Stands between a namespace and a name, in what the parser reports. No namespace can hold it.
constexpr char separator = '\n';
constexpr std::string_view sparkle = "http://www.andymatuschak.org/xml-namespaces/sparkle\n";

bool isReleaseSignature(std::string_view name)
{
    constexpr std::string_view space = ReleaseStatement::attributeNamespace;
    return name.size() > space.size() && name.substr(0, space.size()) == space && name[space.size()] == separator
        && name.substr(space.size() + 1) == ReleaseStatement::attribute;
}

struct ParserDeleter {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<XML_ParserStruct, ParserDeleter>;

// The name without its namespace when it is one of Sparkle's, else empty.
std::string_view sparkleName(std::string_view name)
{
    return name.substr(0, sparkle.size()) == sparkle ? name.substr(sparkle.size()) : std::string_view();
}

struct Field {
    std::string_view name;
    std::string AppcastItem::*place;
};
constexpr std::array<Field, 3> plainFields{ {
    { "title", &AppcastItem::title },
    { "description", &AppcastItem::description },
    { "pubDate", &AppcastItem::pubDate },
} };
constexpr std::array<Field, 6> sparkleFields{ {
    { "version", &AppcastItem::version },
    { "shortVersionString", &AppcastItem::shortVersionString },
    { "minimumSystemVersion", &AppcastItem::minimumSystemVersion },
    { "os", &AppcastItem::os },
    { "channel", &AppcastItem::channel },
    { "releaseNotesLink", &AppcastItem::releaseNotesLink },
} };

template <class Fields>
std::string AppcastItem::*placeIn(const Fields& fields, std::string_view name)
{
    for (const Field& field : fields) {
        if (field.name == name) {
            return field.place;
        }
    }
    return nullptr;
}

std::string AppcastItem::*placeOf(std::string_view name)
{
    const std::string_view own = sparkleName(name);
    return own.empty() ? placeIn(plainFields, name) : placeIn(sparkleFields, own);
}

std::optional<std::uint64_t> lengthFrom(std::string_view text)
{
    std::uint64_t length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(length) : std::nullopt;
}

AppcastEnclosure enclosureFrom(const char** attributes)
{
    AppcastEnclosure enclosure;
    for (; *attributes != nullptr; attributes += 2) {
        const std::string_view name = attributes[0];
        const std::string_view own = sparkleName(name);
        std::string value(trimmed(attributes[1]));
        if (name == "url") {
            enclosure.url = std::move(value);
        } else if (name == "length") {
            enclosure.length = lengthFrom(value);
        } else if (name == "type") {
            enclosure.type = std::move(value);
        } else if (own == "edSignature") {
            enclosure.edSignature = std::move(value);
        } else if (isReleaseSignature(name)) {
            enclosure.releaseSignature = std::move(value);
        } else if (own == "os") {
            enclosure.os = std::move(value);
        } else if (own == "version") {
            enclosure.version = std::move(value);
        } else if (own == "shortVersionString") {
            enclosure.shortVersionString = std::move(value);
        }
    }
    return enclosure;
}

// Versions are compared with each other, a short time each and not more.
bool hasLongVersion(const AppcastItem& item)
{
    const auto isLong = [](const std::string& version) { return version.size() > Appcast::versionByteLimit; };
    return isLong(item.version) || isLong(item.shortVersionString) || isLong(item.minimumSystemVersion);
}

// Takes what the parser reports of one document. The places that count are rss/channel/item and what stands directly in an item: what
// is deeper, such as the enclosures of sparkle:deltas, belongs to something else.
class AppcastReader
{
public:
    explicit AppcastReader(XML_Parser parser) : m_parser(parser)
    {
        XML_SetUserData(parser, this);
        XML_SetElementHandler(
            parser, [](void* reader, const char* name, const char** attributes) { self(reader).begin(name, attributes); },
            [](void* reader, const char*) { self(reader).end(); });
        XML_SetCharacterDataHandler(parser, [](void* reader, const char* text, int size) {
            self(reader).append({ text, static_cast<std::size_t>(size) });
        });
        XML_SetStartDoctypeDeclHandler(
            parser, [](void* reader, const char*, const char*, const char*, int) { self(reader).refuse("It has a document type."); });
    }

    // What was refused, empty for nothing.
    [[nodiscard]] const std::string& refusal() const { return m_refusal; }
    [[nodiscard]] std::vector<AppcastItem> takeItems() { return std::move(m_items); }

private:
    static constexpr int itemDepth = 3;

    static AppcastReader& self(void* reader) { return *static_cast<AppcastReader*>(reader); }

    void refuse(const char* reason)
    {
        m_refusal = reason;
        XML_StopParser(m_parser, XML_FALSE);
    }

    void begin(std::string_view name, const char** attributes)
    {
        ++m_depth;
        if (m_depth > Appcast::depthLimit) {
            refuse("It is nested too deeply.");
        } else if (m_depth == 1 && name != "rss") {
            refuse("It is no RSS.");
        } else if (m_depth == 2) {
            m_isInChannel = name == "channel";
        } else if (m_depth == itemDepth && m_isInChannel && name == "item") {
            m_item.emplace();
        } else if (m_depth == itemDepth + 1 && m_item) {
            beginField(name, attributes);
        }
    }

    void beginField(std::string_view name, const char** attributes)
    {
        m_text.clear();
        m_place = placeOf(name);
        if (name != "enclosure") {
            return;
        }
        if (m_item->enclosures.size() == Appcast::enclosureLimit) {
            refuse("One of its items offers too many files.");
            return;
        }
        m_item->enclosures.push_back(enclosureFrom(attributes));
    }

    void append(std::string_view text)
    {
        if (m_place != nullptr) {
            m_text += text;
        }
    }

    void end()
    {
        if (m_depth == itemDepth + 1 && m_place != nullptr) {
            // The first one counts.
            std::string& field = (*m_item).*std::exchange(m_place, nullptr);
            if (field.empty()) {
                field = trimmed(m_text);
            }
        } else if (m_depth == itemDepth && m_item) {
            endItem();
        }
        --m_depth;
    }

    void endItem()
    {
        AppcastItem item = std::move(*m_item);
        m_item.reset();
        for (const AppcastEnclosure& enclosure : item.enclosures) {
            if (item.version.empty()) {
                item.version = enclosure.version;
            }
            if (item.shortVersionString.empty()) {
                item.shortVersionString = enclosure.shortVersionString;
            }
        }
        if (item.version.empty() || item.enclosures.empty() || hasLongVersion(item)) {
            return;
        }
        if (item.releaseNotesLink.size() > Appcast::linkByteLimit) {
            item.releaseNotesLink.clear();
        }
        if (m_items.size() == Appcast::itemLimit) {
            refuse("It has too many items.");
            return;
        }
        m_items.push_back(std::move(item));
    }

    XML_Parser m_parser;
    int m_depth = 0; // of the element that is open
    bool m_isInChannel = false;
    std::optional<AppcastItem> m_item; // while one is open
    std::string AppcastItem::*m_place = nullptr; // while a field with a text is open
    std::string m_text;
    std::vector<AppcastItem> m_items;
    std::string m_refusal;
};

Failure<AppcastError> unreadable(const std::string& reason)
{
    return { AppcastError{ "The update feed can't be read. " + reason } };
}

} // namespace

Result<Appcast, AppcastError> Appcast::parse(std::string_view xml)
{
    if (xml.size() > byteLimit) {
        return unreadable("It is too large.");
    }
    const Parser parser(XML_ParserCreateNS(nullptr, separator));
    if (!parser) {
        return unreadable("There is not enough memory.");
    }
    AppcastReader reader(parser.get());
    // All at once: a document in parts is looked at again from the start of a long token with each part.
    const XML_Status status = XML_Parse(parser.get(), xml.data(), static_cast<int>(xml.size()), XML_TRUE);
    if (!reader.refusal().empty()) {
        return unreadable(reader.refusal());
    }
    if (status != XML_STATUS_OK) {
        const std::string reason = XML_ErrorString(XML_GetErrorCode(parser.get()));
        return unreadable("Line " + std::to_string(XML_GetCurrentLineNumber(parser.get())) + ": " + reason + ".");
    }
    return Appcast{ reader.takeItems() };
}

} // namespace tessarin
