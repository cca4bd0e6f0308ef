#include "Platform/FileExtension.h"

#include "Platform/Files.h"

namespace tessarin
{

std::string lowerCasedExtension(std::string_view path)
{
    const std::string name = lastPathComponent(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) {
        return {};
    }
    std::string extension = name.substr(dot + 1);
    for (char& character : extension) {
        character = character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    }
    return extension;
}

} // namespace tessarin
