#include "FuzzTarget.h"
#include "Models/WorkspaceCoder.h"

const tessarin::LongTextInput tessarin::longTextInput{ R"([{"name":")", R"("}])" };

// A stored tree decodes or is refused. One that decodes is written so that it reads back as the same tree, whole or piece by piece.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    const auto tree = decodeWorkspaces(asText(data, size));
    if (tree) {
        const auto encoded = encodeWorkspaces(*tree);
        fuzzRequire(encoded.has_value(), "what was read can be written");
        fuzzRequire(decodeWorkspaces(*encoded) == tree, "what was written reads back as the same tree");
        TreeChanges changes;
        WorkspaceEncoder encoder;
        for (int save = 0; save < 2; ++save) {
            const auto pieces = encoder.encode(*tree, changes);
            fuzzRequire(pieces && pieces->joined() == *encoded, "the encoder that keeps pieces writes the same bytes");
        }
    }
    return 0;
}
