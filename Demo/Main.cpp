#include "Demo/Agent.h"

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace
{

// TESSARIN_DEMO_PACE is the factor on all waiting; without it, and for what is no such number, that of a person's eyes.
double paceFromEnvironment()
{
    const char* text = std::getenv("TESSARIN_DEMO_PACE");
    char* end = nullptr;
    const double pace = text ? std::strtod(text, &end) : 1.0;
    const bool isNumber = !text || (end != text && *end == '\0');
    return isNumber && std::isfinite(pace) && pace >= 0 && pace <= 1000 ? pace : 1.0;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const std::string_view path = argumentCount > 0 ? arguments[0] : "grok";
    const std::string program{ path.substr(path.rfind('/') + 1) };
    const demo::Role role = program == "kimi" ? demo::Role{ "kimi", "Kimi", false } : demo::Role{ "grok", "Grok", true };
    const std::vector<std::string_view> call(arguments + (argumentCount > 0 ? 1 : 0), arguments + argumentCount);
    const std::string_view first = call.empty() ? std::string_view() : call.front();
    if (first == "--version") {
        std::printf("1.0.0 (demonstration)\n");
        return 0;
    }
    if (first == "login" || first == "logout" || first == "auth") {
        std::printf("The demonstration of %s needs no account.\n", role.name.c_str());
        return 0;
    }
    if (first != "acp" && (first != "agent" || call.back() != "stdio")) {
        std::fprintf(stderr, "usage: kimi acp | grok agent stdio | --version\n");
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    demo::Agent(role, paceFromEnvironment()).run();
    return 0;
}
