#include "ChildFixture.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessarin
{

namespace
{

class ChildLaunchTest : public ChildFixture
{
protected:
    ChildLaunchTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "launch-XXXXXX").string();
        folder = std::filesystem::canonical(mkdtemp(name.data())).string();
    }
    ~ChildLaunchTest() override { std::filesystem::remove_all(folder); }

    std::string makeFile(const std::string& name, const std::string& text, mode_t mode) const
    {
        const std::string path = folder + "/" + name;
        std::ofstream(path) << text;
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return path;
    }

    // The text of a start that must fail, after a look at what it left behind.
    std::string failure(const ChildLaunch& launch)
    {
        const int before = openDescriptors();
        const auto child = ChildProcess::launch(launch, queue, ChildRecord::callbacks(record));
        EXPECT_FALSE(child.isSuccess());
        // A stream that was opened in vain is closed by the time the queue has come round.
        queue->sync([] {});
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_FALSE(hasChildren());
        EXPECT_EQ(record.use_count(), 1);
        EXPECT_EQ(record->told().ends, 0);
        return child ? "started" : child.error();
    }

    std::string folder;
};

} // namespace

TEST_F(ChildLaunchTest, TheChildSeesOurEnvironmentAndNothingElse)
{
    ChildLaunch launch = probe({ "environment" });
    launch.environment = { { "ONE", "1" }, { "EMPTY", "" }, { "WITH_EQUALS", "a=b=c" }, { "UNICODE", "größer" } };
    EXPECT_EQ(run(launch).output, "EMPTY=\nONE=1\nUNICODE=größer\nWITH_EQUALS=a=b=c\n");
    launch.environment = {};
    EXPECT_EQ(run(launch).output, "");
}

TEST_F(ChildLaunchTest, TheEnvironmentOfThisProcessCanBeHandedOn)
{
    ASSERT_EQ(setenv("TESSARIN_TEST_VALUE", "x=y", 1), 0);
    const Environment environment = processEnvironment();
    EXPECT_EQ(environment.at("TESSARIN_TEST_VALUE"), "x=y");
    EXPECT_EQ(environment.at("PATH"), getenv("PATH"));
    unsetenv("TESSARIN_TEST_VALUE");
    EXPECT_FALSE(processEnvironment().contains("TESSARIN_TEST_VALUE"));
}

TEST_F(ChildLaunchTest, ArgumentsArriveAsTheyAre)
{
    EXPECT_EQ(run(probe({ "arguments", "a b", "", "\"*\"", "$HOME", "ä\n" })).output, "<a b><><\"*\"><$HOME><ä\n>");
}

TEST_F(ChildLaunchTest, TheChildStartsInItsWorkingDirectory)
{
    ChildLaunch launch = probe({ "directory" });
    EXPECT_EQ(run(launch).output, std::filesystem::current_path().string());
    launch.workingDirectory = folder;
    EXPECT_EQ(run(launch).output, folder);
}

TEST_F(ChildLaunchTest, TheChildInheritsNoDescriptorButItsStreams)
{
    const int leaking = open("/dev/null", O_RDONLY);
    const int high = fcntl(leaking, F_DUPFD, 500);
    ASSERT_EQ(fcntl(high, F_GETFD), 0);
    const auto waiting = start({ .executable = "/bin/cat" });
    EXPECT_EQ(run(probe({ "descriptors" })).output, "0 1 2 ");
    close(leaking);
    close(high);
    queue->sync([&] { waiting->closeInput(); });
    EXPECT_TRUE(record->waitForEnd());
}

TEST_F(ChildLaunchTest, TheChildHasItsStreamsEvenWhenWeHaveNone)
{
    const int saved[] = { dup(0), dup(1), dup(2) };
    for (const int stream : { 0, 1, 2 })
        close(stream);
    const ChildRecord::Told told = run(probe({ "say", "out", "err", "0" }));
    const ChildRecord::Told described = run(probe({ "descriptors" }));
    const auto waiting = start({ .executable = "/bin/cat" });
    int mistakable = 0;
    for (const int stream : { 0, 1, 2 }) {
        struct stat information {
        };
        mistakable += fstat(stream, &information) == 0 && S_ISFIFO(information.st_mode) ? 1 : 0;
    }
    queue->sync([&] { waiting->closeInput(); });
    const bool hasEnded = record->waitForEnd();
    for (const int stream : { 0, 1, 2 }) {
        dup2(saved[stream], stream);
        close(saved[stream]);
    }
    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(told.output, "out");
    EXPECT_EQ(told.errorOutput, "err");
    EXPECT_EQ(described.output, "0 1 2 ");
    EXPECT_EQ(mistakable, 0) << "what is printed by accident must not go to a child";
}

TEST_F(ChildLaunchTest, TheChildStartsWithDefaultSignalsAndAnEmptyMask)
{
    sigset_t blocked, before;
    sigemptyset(&blocked);
    for (const int number : { SIGTERM, SIGINT, SIGCHLD, SIGUSR1 })
        sigaddset(&blocked, number);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &blocked, &before), 0);
    const auto hangUp = signal(SIGHUP, SIG_IGN);
    const ChildRecord::Told told = run(probe({ "signals" }));
    struct sigaction brokenPipe {
    };
    sigaction(SIGPIPE, nullptr, &brokenPipe);
    signal(SIGHUP, hangUp);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(told.output, "");
    EXPECT_EQ(told.end->status, 0);
    EXPECT_EQ(brokenPipe.sa_handler, SIG_IGN) << "on our side";
}

TEST_F(ChildLaunchTest, TheStandardInputCanBeEmpty)
{
    ChildLaunch launch = probe({ "count-input" });
    launch.input = ChildInput::empty;
    EXPECT_EQ(run(launch).output, "0");
}

TEST_F(ChildLaunchTest, TheStandardInputCanBeThatOfThisProcess)
{
    const std::string path = makeFile("input", "12345", 0600);
    const int saved = dup(0);
    const int opened = open(path.c_str(), O_RDONLY);
    dup2(opened, 0);
    ChildLaunch launch = probe({ "count-input" });
    launch.input = ChildInput::inherited;
    const ChildRecord::Told told = run(launch);
    dup2(saved, 0);
    close(saved);
    close(opened);
    EXPECT_EQ(told.output, "5");
}

TEST_F(ChildLaunchTest, AMissingProgramFailsWithThePlatformsText)
{
    EXPECT_EQ(failure({ .executable = "/nowhere/program" }), "/nowhere/program: No such file or directory");
}

TEST_F(ChildLaunchTest, AMissingWorkingDirectoryIsNamed)
{
    ChildLaunch launch = probe({ "directory" });
    launch.workingDirectory = folder + "/gone";
    EXPECT_EQ(failure(launch), folder + "/gone: No such file or directory");
    launch.workingDirectory = makeFile("file", "", 0600);
    EXPECT_EQ(failure(launch), folder + "/file: Not a directory");
}

TEST_F(ChildLaunchTest, AFileThatIsNotExecutableFails)
{
    const std::string path = makeFile("text", "#!/bin/sh\n", 0600);
    EXPECT_EQ(failure({ .executable = path }), path + ": Permission denied");
    EXPECT_EQ(failure({ .executable = folder }), folder + ": Permission denied");
}

TEST_F(ChildLaunchTest, AScriptThatNamesNoInterpreterFails)
{
    const std::string path = makeFile("script", "echo no interpreter\n", 0700);
    EXPECT_EQ(failure({ .executable = path }), path + ": Exec format error");
}

TEST_F(ChildLaunchTest, AScriptWithAnInterpreterRuns)
{
    EXPECT_EQ(run({ .executable = makeFile("script", "#!/bin/sh\necho \"$1\"\n", 0700), .arguments = { "word" } }).output, "word\n");
}

TEST_F(ChildLaunchTest, ATextWithAZeroByteFailsInsteadOfBeingCut)
{
    const std::string cut("a\0b", 3);
    const std::string text = std::string(CHILD_PROBE) + ": Invalid argument";
    EXPECT_EQ(failure(probe({ "arguments", cut })), text);
    ChildLaunch launch = probe({ "environment" });
    launch.environment = { { "NAME", cut } };
    EXPECT_EQ(failure(launch), text);
    launch.environment = {};
    launch.workingDirectory = cut;
    EXPECT_EQ(failure(launch), text);
}

TEST_F(ChildLaunchTest, ArgumentsThatAreTooLongFailWithThePlatformsText)
{
    EXPECT_EQ(failure(probe({ "arguments", std::string(8'000'000, 'x') })), std::string(CHILD_PROBE) + ": Argument list too long");
}

TEST_F(ChildLaunchTest, AStartWithoutFreeDescriptorsFails)
{
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const int next = dup(0);
    close(next);
    // Room for none, and then for one more each time, until the start succeeds.
    std::optional<Result<std::shared_ptr<ChildProcess>, std::string>> child;
    int room = 0;
    for (; !child || !*child; ++room) {
        // On the queue, so that nothing else there runs into the limit.
        queue->sync([&] {
            const rlimit tight{ static_cast<rlim_t>(next + room), before.rlim_max };
            setrlimit(RLIMIT_NOFILE, &tight);
            child = ChildProcess::launch(probe({ "say", "", "", "0" }), queue, ChildRecord::callbacks(record));
            setrlimit(RLIMIT_NOFILE, &before);
        });
        if (!*child) {
            EXPECT_EQ(child->error(), "Too many open files");
            EXPECT_EQ(dup(0), next) << "a descriptor stays open";
            close(next);
        }
    }
    EXPECT_GT(room, 6) << "the two ends of three pipes";
    EXPECT_TRUE(record->waitForEnd());
}

} // namespace tessarin
