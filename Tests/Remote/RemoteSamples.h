#pragma once

#include "Remote/RemoteEnvelope.h"

#include <string>

namespace tessarin
{

// A snapshot and a message with every field present, and the exact texts that they travel as.
inline RemoteSnapshot fullSnapshot()
{
    RemoteSnapshot snapshot;
    snapshot.hostName = "Ada's machine";
    snapshot.generatedAt = 1700000000.25;
    snapshot.connectionStatus = "working";
    snapshot.connectionLabel = "Claude is working";
    snapshot.selectedWorkspaceID = "ABCDEF01-2345-4789-8ABC-DEF012345678";
    snapshot.selectedThreadID = "11111111-2222-4333-8444-55555555AAAA";
    RemoteThread thread;
    thread.id = "11111111-2222-4333-8444-55555555AAAA";
    thread.title = "New task";
    thread.sessionID = "grok session";
    thread.createdAt = 1;
    thread.updatedAt = 2.5;
    thread.entries.emplace_back(
        std::vector<RemoteChatEntry>{ { "call-1", "tool", "a\n\"b\" \\ / é 😀 \x01", "Read", "pending", "claude", 1700000000.5 } });
    thread.entries.emplace_back(std::vector<RemoteChatEntry>{ { "2", "user", "", {}, {}, {}, 0 } });
    snapshot.workspaces = { { "ABCDEF01-2345-4789-8ABC-DEF012345678", "tmp", "/tmp", { std::move(thread) } } };
    snapshot.permission = RemotePermission{ 7, "Run", "{}", { { "yes", "Allow", "allow_once" } } };
    snapshot.permissionMode = "full_access";
    snapshot.permissionModeLabel = "Full access";
    snapshot.providerMode = "automatic";
    snapshot.providerModeLabel = "Automatic";
    snapshot.activeProvider = "claude";
    snapshot.activeProviderLabel = "Claude";
    snapshot.providerUsages = { { "claude", "Claude Code", 12.5, 50, 1700003600, true }, { "grok", "Grok Build", {}, {}, {}, false } };
    snapshot.imagineStatus = "idle";
    snapshot.imagineLabel = "Not connected";
    snapshot.imagineItems
        = std::vector<RemoteImagineItem>{ { "22222222-2222-4333-8444-55555555AAAA", "video", "a cat", "a.mp4", 1600000000 } };
    return snapshot;
}

inline const std::string fullSnapshotText
    = R"({"hostName":"Ada's machine","generatedAt":1700000000.25,"connectionStatus":"working","connectionLabel":"Claude is working",)"
      R"("selectedWorkspaceID":"ABCDEF01-2345-4789-8ABC-DEF012345678","selectedThreadID":"11111111-2222-4333-8444-55555555AAAA",)"
      R"("workspaces":[{"id":"ABCDEF01-2345-4789-8ABC-DEF012345678","name":"tmp","path":"/tmp","threads":[)"
      R"({"id":"11111111-2222-4333-8444-55555555AAAA","title":"New task","sessionID":"grok session","createdAt":1,"updatedAt":2.5,"entries":[)"
      R"({"id":"call-1","kind":"tool","text":"a\n\"b\" \\ / é 😀 \u0001","title":"Read","status":"pending","provider":"claude",)"
      R"("createdAt":1700000000.5},{"id":"2","kind":"user","text":"","createdAt":0}]}]}],)"
      R"("permission":{"requestID":7,"title":"Run","detail":"{}","options":[{"id":"yes","name":"Allow","kind":"allow_once"}]},)"
      R"("permissionMode":"full_access","permissionModeLabel":"Full access","providerMode":"automatic","providerModeLabel":"Automatic",)"
      R"("activeProvider":"claude","activeProviderLabel":"Claude","providerUsages":[)"
      R"({"provider":"claude","label":"Claude Code","primaryUsedPercent":12.5,"secondaryUsedPercent":50,"resetsAt":1700003600,"exhausted":true},)"
      R"({"provider":"grok","label":"Grok Build","exhausted":false}],"imagineStatus":"idle","imagineLabel":"Not connected","imagineItems":[)"
      R"({"id":"22222222-2222-4333-8444-55555555AAAA","kind":"video","prompt":"a cat","fileName":"a.mp4","createdAt":1600000000}]})";

inline RemoteEnvelope fullEnvelope()
{
    RemoteEnvelope envelope;
    envelope.id = "message";
    envelope.type = "anything";
    envelope.workspaceID = "w";
    envelope.threadID = "t";
    envelope.requestID = -9223372036854775807 - 1;
    envelope.text = "line\nline";
    envelope.optionID = "o";
    envelope.permissionMode = "ask";
    envelope.providerMode = "grok";
    envelope.mediaID = "m";
    envelope.mediaKind = "image";
    envelope.mimeType = "image/png";
    envelope.fileName = "a.png";
    envelope.chunkIndex = 0;
    envelope.chunkCount = 9223372036854775807;
    envelope.data = "AAEC/+8=";
    envelope.snapshot.emplace(fullSnapshot());
    return envelope;
}

inline const std::string fullEnvelopeText
    = R"({"version":1,"id":"message","type":"anything","workspaceID":"w","threadID":"t","requestID":-9223372036854775808,)"
      R"("text":"line\nline","optionID":"o","permissionMode":"ask","providerMode":"grok","mediaID":"m","mediaKind":"image",)"
      R"("mimeType":"image/png","fileName":"a.png","chunkIndex":0,"chunkCount":9223372036854775807,"data":"AAEC/+8=","snapshot":)"
    + fullSnapshotText + "}";

} // namespace tessarin
