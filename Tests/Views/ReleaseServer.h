#pragma once

#include "Feeds.h"
#include "HttpsServer.h"
#include "SigningKey.h"

#include <QFile>

#include <cstddef>
#include <optional>
#include <string>

namespace tessarin
{

// What a publisher of releases has: a server, a key, an archive, and a feed that tells of it. What is told can be made wrong.
struct ReleaseServer {
    HttpsServer https;
    SigningKey key;
    std::string archive;
    std::size_t length = 0; // as it is stated
    std::string signature; // of the archive; what is stated is signed as it is stated, unless there is another
    std::optional<ReleaseStatement> otherStatement; // of which only the signature is published
    std::string address; // of the archive

    // The archive under this name, signed, and what is stated of it right.
    void publishArchive(const std::string& name, const std::string& bytes)
    {
        write(name, bytes);
        archive = bytes;
        length = bytes.size();
        signature = key.signatureOf(bytes);
        address = https.url(QString::fromStdString("/files/" + name)).toString().toStdString();
    }
    // A feed with one release of this version; its address.
    QUrl publishFeed(const std::string& version, const std::string& more = {})
    {
        ReleaseStatement stated = key.signedStatement({ version, "", "linux", length, signature, "" });
        if (otherStatement) {
            stated.signature = otherStatement->signature;
        }
        write("appcast.xml", feedOf(itemOf(stated, address, more)));
        return https.url("/files/appcast.xml");
    }
    void write(const std::string& name, const std::string& bytes) const
    {
        QFile file(https.fileNamed(QString::fromStdString(name)));
        file.open(QIODevice::WriteOnly);
        file.write(bytes.data(), static_cast<qint64>(bytes.size()));
    }
};

} // namespace tessarin
