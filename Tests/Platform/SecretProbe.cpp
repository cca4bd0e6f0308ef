// A program that uses the system's secrets, one command after another from its input, each answered by a line:
//   load          the secret in hexadecimal digits, or "absent"
//   save DIGITS   "saved" or "not saved"
//   remove        "removed"
//   leave         loads in the background and ends that: "left"
// Its arguments: the folder for the files, and how many milliseconds a call may wait for the service.

#include "Platform/BackgroundWork.h"
#include "Platform/SecretServiceStore.h"

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>

namespace
{

constexpr const char* service = "com.local.Ombrelan.remote";
constexpr const char* account = "pairing-secret";

std::string hexadecimal(const std::string& bytes)
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        text += { digits[byte / 16], digits[byte % 16] };
    }
    return text;
}

std::string bytesOf(const std::string& digits)
{
    std::string bytes;
    for (std::size_t at = 0; at + 1 < digits.size(); at += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

} // namespace

int main(int count, char** values)
{
    if (count != 3) {
        return 64;
    }
    tessarin::SecretServiceStore store(tessarin::FileSecretStore(values[1]), std::chrono::milliseconds(std::atoi(values[2])));
    std::string command;
    while (std::cin >> command) {
        if (command == "save") {
            std::string digits;
            std::cin >> digits;
            std::cout << (store.save(service, account, bytesOf(digits)) ? "saved" : "not saved") << std::endl;
        } else if (command == "remove") {
            store.remove(service, account);
            std::cout << "removed" << std::endl;
        } else if (command == "leave") {
            tessarin::runInBackground([&store] { static_cast<void>(store.load(service, account)); });
            tessarin::endBackgroundWork();
            std::cout << "left" << std::endl;
        } else {
            const std::optional<std::string> secret = store.load(service, account);
            std::cout << (secret ? hexadecimal(*secret) : "absent") << std::endl;
        }
    }
    return 0;
}
