// A program that starts on the stores in the folder of its argument. Says "held" or "absent", then "raised" whenever it is asked to
// show itself; ends when its input does.

#include "Platform/InstanceLock.h"
#include "Platform/MainThread.h"

#include <atomic>
#include <chrono>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace
{

void say(std::string_view text)
{
    [[maybe_unused]] const ssize_t ignored = write(STDOUT_FILENO, text.data(), text.size());
}

} // namespace

int main(int count, char** values)
{
    if (count != 2)
        return 64;
    tessarin::MainThread mainThread;
    const tessarin::StoreLocations locations{ .configuration = values[1], .data = values[1] };
    const auto lock = tessarin::InstanceLock::acquire(locations, mainThread, [] { say("raised "); });
    say(lock ? "held " : "absent ");
    if (!lock)
        return 0;
    bool isOver = false;
    std::thread input([&] {
        char byte = 0;
        while (read(STDIN_FILENO, &byte, 1) > 0) { }
        mainThread.post([&] { isOver = true; });
    });
    while (!isOver)
        mainThread.waitAndDrain(std::chrono::hours(1));
    input.join();
    return 0;
}
