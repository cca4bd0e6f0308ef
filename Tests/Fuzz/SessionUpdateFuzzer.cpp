#include "FoldingCheck.h"
#include "FuzzTarget.h"
#include "Platform/Json.h"

const tessarin::LongTextInput tessarin::longTextInput{ R"({"sessionUpdate":"agent_message_chunk","content":{"text":")", R"("}})" };

// Lines of JSON, each an update. The first line counts twice: with the word "replay" in it, a stored conversation is being replayed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tessarin;
    std::string_view rest = asText(data, size);
    FoldingCheck task;
    task.setReplaying(rest.substr(0, rest.find('\n')).find("replay") != std::string_view::npos);
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (const auto update = parseJson(line); update && update->is_object()) {
            task.fold(update->get_object());
        }
    }
    return 0;
}
