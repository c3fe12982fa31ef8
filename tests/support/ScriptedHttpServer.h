#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QStringList>

#include <memory>

class QSslCertificate;
class QSslKey;
class QTcpServer;
class QTcpSocket;

// An HTTP/1.1 server on 127.0.0.1 that answers each path as the test says: a status and body,
// a redirect, or nothing at all. Plain or over TLS. Runs on the thread that made it.
class ScriptedHttpServer : public QObject {
    Q_OBJECT

public:
    struct Answer {
        QByteArray status = "200 OK";
        QByteArray contentType = "application/json";
        QByteArray body;
        // Where a redirect points; sent with a 302 status.
        QByteArray location;
        // Accepts the request and never answers.
        bool silent = false;
    };

    explicit ScriptedHttpServer(QObject* parent = nullptr);
    ~ScriptedHttpServer() override;

    bool listen();
    // Serves over TLS with this certificate and key.
    bool listenEncrypted(const QSslCertificate& certificate, const QSslKey& key);

    // Paths without an answer get a 404 page.
    void answer(const QString& path, const Answer& answer);
    // "http://127.0.0.1:<port>" or "https://127.0.0.1:<port>".
    QString base() const;
    // The paths requested so far, in order.
    const QStringList& requested() const { return m_requested; }

private:
    void accept();
    void serve(QTcpSocket* socket);

    std::unique_ptr<QTcpServer> m_server;
    bool m_encrypted = false;
    QHash<QString, Answer> m_answers;
    QStringList m_requested;
};
