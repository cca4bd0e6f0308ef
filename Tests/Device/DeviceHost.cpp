// The remote host without a program around it, for tests of a device. It does what stands in the lines of its standard input, and writes
// what it hears as lines of JSON, until the input ends.
//
//   {"do":"start","key":"43 characters","port":1234}
//   {"do":"stop"}
//   {"do":"update","envelope":{... "snapshot":{...}}}     every device gets this state
//   {"do":"send","envelope":{...}}                        every device gets this message, under an id of its own
//   {"do":"media","id":"...","kind":"image","path":"...","fileName":"..."}
//
//   {"state":"Available on port 1234"}   {"clients":1}   {"message":{...}}   {"wrong":"..."} for a line that it can't use
//
// The key comes in a line and not as an argument, which all programs of the machine could read.

#include "Platform/Json.h"
#include "Remote/RemoteCoder.h"
#include "Remote/RemoteCrypto.h"
#include "Remote/RemoteHostServer.h"

#include <csignal>
#include <iostream>
#include <string>
#include <thread>

namespace tessarin
{

namespace
{

void writeLine(const std::string& line)
{
    std::cout << line << '\n' << std::flush;
}

void writeLine(const char* key, const Json& value)
{
    writeLine(compactJson(JsonObject{ { key, value } }));
}

class DeviceHost
{
public:
    explicit DeviceHost(MainThread& mainThread) : m_server(mainThread)
    {
        m_server.onStateChange = [](const RemoteHostState& state) { writeLine("state", Json(state.label())); };
        m_server.onClientCountChange = [](std::size_t count) { writeLine("clients", Json(count)); };
        m_server.onMessage = [this](const RemoteEnvelope& envelope) {
            const auto json = m_encoder.encode(envelope, RemoteCrypto::maximumFrameSize);
            writeLine("{\"message\":" + (json ? json->joined() : "null") + "}");
        };
    }

    void perform(const std::string& line)
    {
        const auto json = parseJson(line);
        const bool isDone = json && json->is_object() && perform(json->get_object());
        if (!isDone) {
            writeLine("wrong", Json(line.substr(0, 200)));
        }
    }

private:
    bool perform(const JsonObject& order)
    {
        const std::string_view what = textAt(order, "do").value_or("");
        if (what == "start") {
            const auto key = RemoteCrypto::dataFromBase64URL(textAt(order, "key").value_or("?"));
            const auto port = integerAt(order, "port");
            if (!key || !port) {
                return false;
            }
            m_server.start(*key, static_cast<std::uint16_t>(*port));
        } else if (what == "stop") {
            m_server.stop();
        } else if (what == "media") {
            m_server.sendMedia(media(order));
        } else {
            const JsonObject* envelope = objectAt(order, "envelope");
            return envelope && pass(what, decodeRemoteEnvelope(compactJson(Json(*envelope))));
        }
        return true;
    }

    bool pass(std::string_view what, const std::optional<RemoteEnvelope>& envelope)
    {
        if (envelope && what == "update" && envelope->snapshot) {
            m_server.update(**envelope->snapshot);
        } else if (envelope && what == "send") {
            m_server.send(*envelope);
        } else {
            return false;
        }
        return true;
    }

    static RemoteMedia media(const JsonObject& order)
    {
        const auto text = [&order](const char* key) { return std::string(textAt(order, key).value_or("")); };
        return { .id = text("id"), .kind = text("kind"), .path = text("path"), .fileName = text("fileName") };
    }

    RemoteHostServer m_server;
    RemoteEncoder m_encoder;
};

int run()
{
    std::signal(SIGPIPE, SIG_IGN);
    // Stays to the end of the process: the server may still post while it goes.
    static auto& mainThread = *new MainThread;
    bool isEnded = false;
    DeviceHost host(mainThread);
    std::thread reader([&host, &isEnded] {
        for (std::string line; std::getline(std::cin, line);) {
            mainThread.post([&host, line] { host.perform(line); });
        }
        mainThread.post([&isEnded] { isEnded = true; });
    });
    while (!isEnded) {
        mainThread.waitAndDrain(std::chrono::hours(1));
    }
    reader.join();
    return 0;
}

} // namespace

} // namespace tessarin

int main()
{
    return tessarin::run();
}
