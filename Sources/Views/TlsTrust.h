#pragma once

#include <QSslConfiguration>

namespace tessarin
{

// Whom HTTPS trusts: the authorities of the system, and those in the file that $SSL_CERT_FILE names, as programs that use OpenSSL know it;
// Qt does not read it. A network that looks into its connections has an authority of its own, and tells its programs so.
[[nodiscard]] QSslConfiguration tlsTrust();

} // namespace tessarin
