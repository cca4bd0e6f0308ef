#pragma once

#include <string>

namespace tessarin
{

// A feed around these items.
inline std::string feedOf(const std::string& items)
{
    return R"(<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel><title>Releases</title>)"
        + items + "</channel></rss>";
}

// An item of this version with a file, and with what else it is to have.
inline std::string itemOf(const std::string& version, const std::string& rest = {})
{
    return "<item><sparkle:version>" + version + "</sparkle:version><enclosure url=\"https://example.com/" + version + "\"/>" + rest
        + "</item>";
}

} // namespace tessarin
