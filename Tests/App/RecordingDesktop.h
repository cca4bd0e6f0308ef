#pragma once

#include "Platform/Desktop.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace tessarin::testing
{

// Remembers what it was asked for; a test answers in the person's place.
class RecordingDesktop final : public Desktop
{
public:
    void chooseFolder(const FolderQuestion& question, std::function<void(std::optional<std::string>)> done) override
    {
        questions.push_back(question);
        answers.push_back(std::move(done));
    }
    void chooseFile(const FileQuestion& question, std::function<void(std::optional<std::string>)> done) override
    {
        fileQuestions.push_back(question);
        fileAnswers.push_back(std::move(done));
    }
    void reveal(const std::string& path) override { revealed.push_back(path); }
    void open(const std::string& path) override { opened.push_back(path); }
    void moveToTrash(const std::string& path) override { trashed.push_back(path); }
    void copyToPasteboard(const std::string& text) override { pasteboard.push_back(text); }
    void copySecretToPasteboard(const std::string& text) override
    {
        pasteboard.push_back(text);
        secretsOnPasteboard.push_back(text);
    }
    void openTerminal(std::function<void(bool wasOpened)> done) override
    {
        terminals.push_back(std::move(done));
        copiedBeforeTerminal.push_back(pasteboard.size());
    }

    std::vector<FolderQuestion> questions;
    std::vector<std::function<void(std::optional<std::string>)>> answers; // to the questions, in their order
    std::vector<FileQuestion> fileQuestions;
    std::vector<std::function<void(std::optional<std::string>)>> fileAnswers; // the same
    std::vector<std::string> revealed;
    std::vector<std::string> opened;
    std::vector<std::string> trashed;
    std::vector<std::string> pasteboard; // all that was ever on it
    std::vector<std::string> secretsOnPasteboard; // those of them that were marked as secret
    std::vector<std::size_t> copiedBeforeTerminal; // how many texts had been copied when each terminal was asked for
    std::vector<std::function<void(bool wasOpened)>> terminals; // that were asked for, each to be told whether it opened
};

} // namespace tessarin::testing
