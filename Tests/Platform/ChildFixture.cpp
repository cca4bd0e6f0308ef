#include "ChildFixture.h"

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <sys/wait.h>
#include <utility>

namespace tessarin
{

ChildProcess::Callbacks ChildRecord::callbacks(const std::shared_ptr<ChildRecord>& record)
{
    ChildProcess::Callbacks callbacks;
    callbacks.onOutput = [record](std::string_view chunk) { record->change([&](Told& told) { told.output += chunk; }); };
    callbacks.onErrorOutput = [record](std::string_view chunk) { record->change([&](Told& told) { told.errorOutput += chunk; }); };
    callbacks.onInputFailed
        = [record](const std::string& reason) { record->change([&](Told& told) { told.inputFailures.push_back(reason); }); };
    callbacks.onEnd = [record](ChildEnd end) {
        record->change([&](Told& told) {
            told.end = end;
            ++told.ends;
        });
    };
    return callbacks;
}

void ChildRecord::change(const std::function<void(Told&)>& change)
{
    const std::lock_guard lock(m_mutex);
    m_told.wasToldAfterEnd = m_told.end.has_value();
    change(m_told);
    m_changed.notify_all();
}

ChildRecord::Told ChildRecord::told() const
{
    const std::lock_guard lock(m_mutex);
    return m_told;
}

bool ChildRecord::waitUntil(const std::function<bool(const Told&)>& condition) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, childTestBound, [&] { return condition(m_told); });
}

bool ChildRecord::waitForEnd() const
{
    return waitUntil([](const Told& told) { return told.end.has_value(); });
}

ChildLaunch ChildFixture::probe(std::vector<std::string> arguments)
{
    return { .executable = CHILD_PROBE, .arguments = std::move(arguments) };
}

ChildLaunch ChildFixture::shell(const std::string& commands)
{
    return { .executable = "/bin/sh", .arguments = { "-c", commands }, .environment = { { "PATH", "/usr/bin:/bin" } } };
}

std::shared_ptr<ChildProcess> ChildFixture::start(const ChildLaunch& launch)
{
    return start(launch, record);
}

std::shared_ptr<ChildProcess> ChildFixture::start(const ChildLaunch& launch, const std::shared_ptr<ChildRecord>& to)
{
    auto child = ChildProcess::launch(launch, queue, ChildRecord::callbacks(to));
    if (!child) {
        ADD_FAILURE() << child.error();
        return nullptr;
    }
    return std::move(child).value();
}

ChildRecord::Told ChildFixture::run(const ChildLaunch& launch)
{
    const auto own = std::make_shared<ChildRecord>();
    const auto child = start(launch, own);
    EXPECT_TRUE(child && own->waitForEnd());
    // Whatever comes wrongly after the end has come by then.
    queue->sync([] {});
    return own->told();
}

int ChildFixture::openDescriptors()
{
    const auto entries = std::filesystem::directory_iterator("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

bool ChildFixture::hasChildren()
{
    siginfo_t information{};
    return waitid(P_ALL, 0, &information, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
}

} // namespace tessarin
