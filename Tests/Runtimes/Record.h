#pragma once

#include <boost/json.hpp>

#include <string>

namespace scripted
{

// What one start of the player received and did, as a file of JSON lines. Each line goes out in one write, so that a test
// may read the file at any time.
class Record
{
public:
    // Creates `<folder>/<stem>.<n>.record.jsonl` for the least n that no other start has taken; the number counts the starts,
    // also of players that start at the same moment. Ends the program when the folder cannot be written.
    Record(const std::string& folder, const std::string& stem);

    [[nodiscard]] int number() const { return m_number; }
    void write(const boost::json::object& line) const;
    // For the signal handler, which may only write.
    [[nodiscard]] int descriptor() const { return m_descriptor; }

private:
    int m_number = 0;
    int m_descriptor = -1;
};

// The line for the start: arguments, environment, working directory, process.
[[nodiscard]] boost::json::object startLine(int argumentCount, char** arguments);

// The text as JSON value of `key`, or its bytes as Base64 under `key` + "Base64" when it is no UTF-8.
void addText(boost::json::object& object, const std::string& key, const std::string& text);

} // namespace scripted
