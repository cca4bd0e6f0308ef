#pragma once

#include "Updates/ReleaseStatement.h"

#include <string>

namespace tessarin
{

// A feed around these items.
inline std::string feedOf(const std::string& items)
{
    return R"(<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle" xmlns:tessarin="urn:tessarin:release"><channel><title>Releases</title>)"
        + items + "</channel></rss>";
}

// An item of this version with a file for Linux, and with what else it is to have.
inline std::string itemOf(const std::string& version, const std::string& rest = {})
{
    return "<item><sparkle:version>" + version + "</sparkle:version><enclosure url=\"https://example.com/" + version
        + "\" sparkle:os=\"linux\"/>" + rest + "</item>";
}

// An item with a file at this address, of which all is stated that the statement has, and with what else it is to have.
inline std::string itemOf(const ReleaseStatement& stated, const std::string& address, const std::string& rest = {})
{
    const auto attribute = [](const char* name, const std::string& value) { return std::string(" ") + name + "=\"" + value + '"'; };
    return "<item><sparkle:version>" + stated.version + "</sparkle:version>" + rest + "<enclosure" + attribute("url", address)
        + attribute("length", std::to_string(stated.length.value_or(0))) + attribute("sparkle:os", stated.os)
        + attribute("sparkle:edSignature", stated.archiveSignature) + attribute("tessarin:releaseSignature", stated.signature)
        + "/></item>";
}

} // namespace tessarin
