#include "FuzzTarget.h"
#include "Models/WorkspaceCoder.h"

namespace tessarin
{
namespace
{

using Tree = std::vector<Workspace>;

void requireEncoded(WorkspaceEncoder& encoder, const Tree& tree, TreeChanges& changes)
{
    const auto bytes = encoder.encode(tree, changes);
    fuzzRequire(bytes && decodeWorkspaces(bytes->joined()) == tree, "what the encoder wrote reads back as the tree");
}

// Changes of the kinds that a program makes, each noted, each saved.
void changeAndSave(WorkspaceEncoder& encoder, Tree& tree)
{
    TreeChanges changes;
    requireEncoded(encoder, tree, changes);
    for (Workspace& workspace : tree) {
        for (ChatThread& thread : workspace.threads) {
            thread.entries.push_back(ChatEntry::make(ChatEntryKind::user, "text"));
            changes.noteEntries(thread.id, thread.entries.size() - 1);
            requireEncoded(encoder, tree, changes);
            thread.entries.front().text += " and more";
            thread.title = "renamed";
            changes.noteTask(thread.id);
            requireEncoded(encoder, tree, changes);
        }
        if (!workspace.threads.empty()) {
            workspace.threads.erase(workspace.threads.begin());
            requireEncoded(encoder, tree, changes);
        }
    }
}

} // namespace
} // namespace tessarin

const tessarin::LongTextInput tessarin::longTextInput{ R"([{"name":")", R"("}])" };

// A stored tree decodes or is refused. One that decodes is written so that it reads back as the same tree, at once and after changes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    const auto tree = decodeWorkspaces(asText(data, size));
    WorkspaceEncoder encoder;
    auto loaded = encoder.decode(std::string(asText(data, size)));
    fuzzRequire(loaded == tree, "keeping the bytes makes no difference");
    if (tree) {
        const auto encoded = encodeWorkspaces(*tree);
        fuzzRequire(encoded.has_value(), "what was read can be written");
        fuzzRequire(decodeWorkspaces(*encoded) == tree, "what was written reads back as the same tree");
        changeAndSave(encoder, *loaded);
    }
    return 0;
}
