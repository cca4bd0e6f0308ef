#include "Models/WorkspaceDecoder.h"

#include "Models/WorkspaceBuilder.h"
#include "Models/WorkspaceCoder.h"
#include "Platform/Json.h"
#include "Platform/JsonText.h"

#include <boost/json/basic_parser_impl.hpp>

namespace tessarin
{

namespace
{

namespace json = boost::json;
using Place = WorkspaceBuilder::Place;

// Hands the parser's events to a builder, texts that are told in parts as wholes, and positions to a slicer.
struct BuildingHandler {
    // What a string or container may be long; the text itself is the limit.
    static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
    static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
    static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);
    static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);

    WorkspaceBuilder builder;
    EntrySlicer* slicer;
    std::string parts; // of a text that is not complete

    explicit BuildingHandler(EntrySlicer* entrySlicer) : slicer(entrySlicer) { }

    static bool accept(bool isAccepted, json::error_code& error)
    {
        if (!isAccepted) {
            error = json::make_error_code(json::error::syntax);
        }
        return isAccepted;
    }

    // A text that came whole isn't copied.
    [[nodiscard]] std::string_view whole(json::string_view lastPart)
    {
        const std::string_view last(lastPart.data(), lastPart.size());
        return parts.empty() ? last : std::string_view(parts.append(last));
    }

    void collect(json::string_view part) { parts.append(part.data(), part.size()); }

    void tellSlicer(Place before)
    {
        const Workspace* project = builder.workspaces().empty() ? nullptr : &builder.workspaces().back();
        if (!slicer || before == builder.place() || !project) {
            return;
        }
        if (before == Place::threads && builder.place() == Place::thread) {
            slicer->beginTask(builder.workspaces().size() - 1, project->threads.size() - 1);
        } else if (before == Place::entries && builder.place() == Place::entry) {
            slicer->beginEntry(project->threads.back().entries.size() - 1);
        } else if (before == Place::entries && builder.place() == Place::thread) {
            slicer->endEntries(project->threads.back().entries.size());
        } else if (before == Place::thread && builder.place() == Place::threads) {
            slicer->endTask();
        }
    }

    bool on_document_begin(json::error_code&) { return true; }
    bool on_document_end(json::error_code&) { return true; }
    bool on_array_begin(json::error_code& error) { return accept(builder.openArray(), error); }
    bool on_array_end(std::size_t, json::error_code&)
    {
        const Place before = builder.place();
        builder.closeArray();
        tellSlicer(before);
        return true;
    }
    bool on_object_begin(json::error_code& error)
    {
        const Place before = builder.place();
        const bool isOpened = builder.openObject();
        tellSlicer(before);
        return accept(isOpened, error);
    }
    bool on_object_end(std::size_t, json::error_code& error)
    {
        const Place before = builder.place();
        const bool isClosed = builder.closeObject();
        tellSlicer(before);
        return accept(isClosed, error);
    }
    bool on_key_part(json::string_view part, std::size_t, json::error_code&)
    {
        collect(part);
        return true;
    }
    bool on_key(json::string_view part, std::size_t, json::error_code&)
    {
        if (slicer) {
            slicer->takeKey(parts.empty() ? std::string_view(part.data(), part.size()) : std::string_view());
        }
        builder.takeKey(whole(part));
        parts.clear();
        return true;
    }
    bool on_string_part(json::string_view part, std::size_t, json::error_code&)
    {
        if (!builder.isPassedOver()) {
            collect(part);
        }
        return true;
    }
    bool on_string(json::string_view part, std::size_t, json::error_code& error)
    {
        const bool isTaken = builder.takeText(whole(part));
        parts.clear();
        return accept(isTaken, error);
    }
    // Only a document that is a bare number ends in a part of one, and that is none of ours.
    bool on_number_part(json::string_view, json::error_code&) { return true; }
    bool on_int64(std::int64_t value, json::string_view, json::error_code& error)
    {
        return accept(builder.takeNumber(static_cast<double>(value)), error);
    }
    bool on_uint64(std::uint64_t value, json::string_view, json::error_code& error)
    {
        return accept(builder.takeNumber(static_cast<double>(value)), error);
    }
    bool on_double(double approximation, json::string_view digits, json::error_code& error)
    {
        const auto value = readJsonNumber(std::string_view(digits.data(), digits.size()), approximation);
        return accept(value && builder.takeNumber(*value), error);
    }
    bool on_bool(bool, json::error_code& error) { return accept(builder.takeBoolean(), error); }
    bool on_null(json::error_code& error) { return accept(builder.takeNull(), error); }
    bool on_comment_part(json::string_view, json::error_code&) { return true; }
    bool on_comment(json::string_view, json::error_code&) { return true; }
};

} // namespace

std::optional<std::vector<Workspace>> decodeWorkspaces(std::string_view text, EntrySlicer* slicer)
{
    json::parse_options options;
    options.max_depth = maximumJsonDepth;
    json::basic_parser<BuildingHandler> parser(options, slicer);
    json::error_code error;
    const std::size_t used = parser.write_some(false, text.data(), text.size(), error);
    if (error || used != text.size() || !parser.done()) {
        return std::nullopt;
    }
    return parser.handler().builder.takeWorkspaces();
}

std::optional<std::vector<Workspace>> decodeWorkspaces(std::string_view json)
{
    return decodeWorkspaces(json, nullptr);
}

} // namespace tessarin
