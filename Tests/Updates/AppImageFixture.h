#pragma once

#include "SigningKey.h"
#include "TemporaryFolder.h"
#include "TroubledDisk.h"
#include "Updates/AppImageInstall.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tessarin
{

inline std::string appImageOf(const std::string& rest, char type = 2)
{
    return std::string("\177ELF\2\1\1\0AI", 10) + type + rest;
}

// A program that runs from an AppImage, with a folder of its own around it.
class AppImageFixture : public testing::Test
{
protected:
    using Names = std::vector<std::string>;

    void SetUp() override
    {
        std::filesystem::create_directory(home);
        writeWholeFile(path, oldBytes);
        std::filesystem::permissions(path, std::filesystem::perms(0755));
    }

    // As each start finds it.
    [[nodiscard]] std::optional<AppImageInstall> installation(const std::string& appImage) const
    {
        return AppImageInstall::at(appImage, record);
    }
    // As it comes out of good signatures: there is no other way to one.
    [[nodiscard]] VerifiedArchive archiveOf(const std::string& bytes) const
    {
        const std::string download = folder / "download";
        writeWholeFile(download, bytes);
        return UpdateSignature::verify(OpenedFile::open(download).value(), key.statementOf(bytes), key.updateKey()).value();
    }
    // The reason why nothing was installed, empty when it was.
    [[nodiscard]] std::string outcomeOf(const std::string& appImage, const VerifiedArchive& archive) const
    {
        const auto install = installation(appImage);
        if (!install) {
            return "There is no AppImage.";
        }
        const auto installed = install->install(archive);
        return installed ? "" : installed.error().description();
    }
    [[nodiscard]] std::string outcomeOf(const std::string& appImage, const std::string& bytes) const
    {
        return outcomeOf(appImage, archiveOf(bytes));
    }
    [[nodiscard]] std::string faultOfWhatWasThere() const
    {
        std::string fault = wholeFile(path) == oldBytes ? "" : "The program is another. ";
        fault += modeOf(path) == 0755 ? "" : "Its mode is another. ";
        return fault + (namesIn(home) == Names{ "tessarin.AppImage" } ? "" : "Something was left behind. ");
    }
    // Installs in a child process that is killed in the middle of the first file that grows beyond so many bytes.
    [[nodiscard]] bool isKilledBeyond(std::size_t bytes, const VerifiedArchive& archive) const
    {
        const pid_t child = ::fork();
        if (child == 0) {
            const rlimit none{ 0, 0 };
            const rlimit little{ bytes, bytes };
            ::setrlimit(RLIMIT_CORE, &none);
            std::signal(SIGXFSZ, SIG_DFL);
            ::setrlimit(RLIMIT_FSIZE, &little);
            ::_exit(outcomeOf(path, archive).empty() ? 0 : 1);
        }
        int status = 0;
        return child > 0 && ::waitpid(child, &status, 0) == child && WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ;
    }

    const TemporaryFolder folder;
    const std::string home = folder / "home";
    const std::string path = home + "/tessarin.AppImage";
    const std::string previous = path + ".previous";
    const std::string record = folder / "record/installed.json";
    const SigningKey key;
    const std::string oldBytes = appImageOf("old");
    const std::string newBytes = appImageOf("new");
};

} // namespace tessarin
