#include "ScriptedHttpServer.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTcpServer>
#include <QTcpSocket>

ScriptedHttpServer::ScriptedHttpServer(QObject* parent)
    : QObject(parent) {}

ScriptedHttpServer::~ScriptedHttpServer() = default;

bool ScriptedHttpServer::listen() {
    m_server = std::make_unique<QTcpServer>();
    connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this,
            &ScriptedHttpServer::accept);
    return m_server->listen(QHostAddress::LocalHost, 0);
}

bool ScriptedHttpServer::listenEncrypted(const QSslCertificate& certificate, const QSslKey& key) {
    auto server = std::make_unique<QSslServer>();
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(certificate);
    configuration.setPrivateKey(key);
    server->setSslConfiguration(configuration);
    m_server = std::move(server);
    m_encrypted = true;
    connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this,
            &ScriptedHttpServer::accept);
    return m_server->listen(QHostAddress::LocalHost, 0);
}

void ScriptedHttpServer::answer(const QString& path, const Answer& answer) {
    m_answers.insert(path, answer);
}

QString ScriptedHttpServer::base() const {
    return QStringLiteral("%1://127.0.0.1:%2")
        .arg(m_encrypted ? QStringLiteral("https") : QStringLiteral("http"))
        .arg(m_server->serverPort());
}

void ScriptedHttpServer::accept() {
    while (QTcpSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void ScriptedHttpServer::serve(QTcpSocket* socket) {
    const QByteArray request = socket->peek(64 * 1024);
    const qsizetype end = request.indexOf("\r\n\r\n");
    if (end < 0) {
        return; // not all of it yet
    }
    socket->read(end + 4);
    const QList<QByteArray> first = request.left(request.indexOf("\r\n")).split(' ');
    const QString path = QString::fromUtf8(first.value(1));
    m_requested << path;
    Answer answer;
    if (const auto found = m_answers.constFind(path); found != m_answers.constEnd()) {
        answer = *found;
    } else {
        answer.status = "404 Not Found";
        answer.contentType = "text/html";
        answer.body = "<html><body><h1>Not Found</h1></body></html>";
    }
    if (answer.silent) {
        return;
    }
    QByteArray head = "HTTP/1.1 " + (answer.location.isEmpty() ? answer.status : "302 Found") +
                      "\r\nContent-Type: " + answer.contentType +
                      "\r\nContent-Length: " + QByteArray::number(answer.body.size()) +
                      "\r\nConnection: close\r\n";
    if (!answer.location.isEmpty()) {
        head += "Location: " + answer.location + "\r\n";
    }
    socket->write(head + "\r\n" + answer.body);
    socket->disconnectFromHost();
}
