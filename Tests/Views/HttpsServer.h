#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>
#include <QTemporaryDir>
#include <QUrl>

namespace tessarin
{

// The server of https_server.py, one for all tests of a program.
class HttpsServer
{
public:
    static constexpr int patience = 30'000; // milliseconds: a bound for what should take a few

    HttpsServer()
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start("/usr/bin/python3", { "-B", HTTPS_SERVER, m_folder.path() });
        while (!m_process.canReadLine() && m_process.waitForReadyRead(patience)) { }
        m_told = QJsonDocument::fromJson(m_process.readLine()).object();
    }
    ~HttpsServer()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished(patience);
    }

    [[nodiscard]] bool isRunning() const { return !m_told.isEmpty(); }
    [[nodiscard]] QUrl url(const QString& path, const QString& server = "good") const
    {
        const QString scheme = server == "plain" ? "http" : "https";
        return QUrl(QString("%1://127.0.0.1:%2%3").arg(scheme).arg(m_told[server].toInt()).arg(path));
    }
    // Served as /files/<name>.
    [[nodiscard]] QString fileNamed(const QString& name) const { return m_folder.filePath(name); }
    [[nodiscard]] QSslConfiguration trust() const
    {
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setCaCertificates(QSslCertificate::fromPath(m_told["authority"].toString()));
        return tls;
    }

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    QJsonObject m_told;
};

} // namespace tessarin
