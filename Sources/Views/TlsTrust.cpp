#include "Views/TlsTrust.h"

#include <QSslCertificate>

namespace tessarin
{

QSslConfiguration tlsTrust()
{
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    const QString file = qEnvironmentVariable("SSL_CERT_FILE");
    if (!file.isEmpty()) {
        // A file that can't be read adds nothing; who depends on it is told that the server can't be verified.
        tls.setCaCertificates(QSslConfiguration::systemCaCertificates() + QSslCertificate::fromPath(file));
    }
    return tls;
}

} // namespace tessarin
