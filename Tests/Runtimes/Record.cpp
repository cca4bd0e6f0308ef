#include "Record.h"

#include "Base64.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

extern char** environ;

namespace scripted
{

namespace json = boost::json;

Record::Record(const std::string& folder, const std::string& stem)
{
    do {
        ++m_number;
        const std::string path = folder + "/" + stem + "." + std::to_string(m_number) + ".record.jsonl";
        m_descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0600);
    } while (m_descriptor < 0 && errno == EEXIST);
    if (m_descriptor < 0) {
        std::fprintf(stderr, "scripted-runtime: no record in %s: %s\n", folder.c_str(), std::strerror(errno));
        std::_Exit(96);
    }
}

void Record::write(const json::object& line) const
{
    const std::string text = json::serialize(line) + "\n";
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = ::write(m_descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            std::fprintf(stderr, "scripted-runtime: the record cannot be written: %s\n", std::strerror(errno));
            std::_Exit(96);
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

static bool isUtf8(const std::string& text)
{
    // The parser checks the encoding of strings; the writer does not.
    json::error_code error;
    json::parse(json::serialize(json::string(text)), error);
    return !error;
}

void addText(json::object& object, const std::string& key, const std::string& text)
{
    if (isUtf8(text))
        object[key] = text;
    else
        object[key + "Base64"] = base64Encoded(text);
}

json::object startLine(int argumentCount, char** arguments)
{
    json::array argv;
    for (int i = 0; i < argumentCount; ++i) {
        json::object item;
        addText(item, "text", arguments[i]);
        argv.push_back(item.begin()->value());
    }
    json::object environment;
    for (char** variable = environ; *variable; ++variable) {
        const std::string text = *variable;
        const std::size_t equals = text.find('=');
        if (equals != std::string::npos)
            addText(environment, text.substr(0, equals), text.substr(equals + 1));
    }
    char folder[PATH_MAX] = "";
    const char* workingDirectory = ::getcwd(folder, sizeof folder);
    return { { "start",
        { { "argv", argv }, { "environment", environment }, { "workingDirectory", workingDirectory ? workingDirectory : "" },
            { "pid", ::getpid() } } } };
}

} // namespace scripted
