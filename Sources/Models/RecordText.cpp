#include "Models/RecordText.h"

#include "Models/WorkspaceKeys.h"
#include "Platform/JsonText.h"

#include <cmath>

namespace tessarin
{

namespace
{

namespace keys = WorkspaceKeys;

// The keys are plain and need no escapes.
void appendKey(std::string& out, std::string_view key)
{
    out += '"';
    out += key;
    out += "\":";
}

void appendNextKey(std::string& out, std::string_view key)
{
    out += ',';
    appendKey(out, key);
}

void appendText(std::string& out, std::string_view key, std::string_view text)
{
    appendNextKey(out, key);
    appendJsonText(out, text);
}

void appendText(std::string& out, std::string_view key, const std::optional<std::string>& text)
{
    if (text) {
        appendText(out, key, std::string_view(*text));
    }
}

void appendProvider(std::string& out, std::string_view key, std::optional<AgentProvider> provider)
{
    if (provider) {
        appendText(out, key, rawText(*provider));
    }
}

bool appendInstant(std::string& out, std::string_view key, Instant instant)
{
    if (!std::isfinite(instant.secondsSince2001)) {
        return false;
    }
    appendNextKey(out, key);
    appendJsonNumber(out, instant.secondsSince2001);
    return true;
}

void openObject(std::string& out, std::string_view id)
{
    out += '{';
    appendKey(out, keys::id);
    appendJsonText(out, id);
}

} // namespace

void openProject(std::string& out, const Workspace& workspace)
{
    openObject(out, workspace.id.text());
    appendText(out, keys::name, std::string_view(workspace.name));
    appendText(out, keys::path, std::string_view(workspace.path));
    appendNextKey(out, keys::threads);
    out += '[';
}

void closeProject(std::string& out)
{
    out += "]}";
}

void openTask(std::string& out, const ChatThread& thread)
{
    openObject(out, thread.id.text());
    appendText(out, keys::title, std::string_view(thread.title));
    appendText(out, keys::sessionId, thread.sessionId);
    if (thread.providerSessionIDs) {
        appendNextKey(out, keys::providerSessionIDs);
        char separator = '{';
        for (const auto& [provider, session] : *thread.providerSessionIDs) {
            out += separator;
            appendJsonText(out, provider);
            out += ':';
            appendJsonText(out, session);
            separator = ',';
        }
        out += thread.providerSessionIDs->empty() ? "{}" : "}";
    }
    appendProvider(out, keys::lastProvider, thread.lastProvider);
    appendNextKey(out, keys::entries);
    out += '[';
}

bool closeTask(std::string& out, const ChatThread& thread)
{
    out += ']';
    const bool isEncoded = appendInstant(out, keys::createdAt, thread.createdAt) && appendInstant(out, keys::updatedAt, thread.updatedAt);
    out += '}';
    return isEncoded;
}

bool appendEntry(std::string& out, const ChatEntry& entry)
{
    openObject(out, entry.id);
    appendText(out, keys::kind, rawText(entry.kind));
    appendText(out, keys::text, std::string_view(entry.text));
    appendText(out, keys::title, entry.title);
    appendText(out, keys::status, entry.status);
    appendProvider(out, keys::provider, entry.provider);
    const bool isEncoded = appendInstant(out, keys::createdAt, entry.createdAt);
    out += '}';
    return isEncoded;
}

} // namespace tessarin
