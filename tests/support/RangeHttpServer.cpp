#include "RangeHttpServer.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTcpSocket>

namespace {

QByteArray contentType(const QString& file) {
    if (file.endsWith(QLatin1String(".html"))) {
        return "text/html; charset=utf-8";
    }
    if (file.endsWith(QLatin1String(".webm"))) {
        return "video/webm";
    }
    return "application/octet-stream";
}

} // namespace

RangeHttpServer::RangeHttpServer(const QString& folder, QObject* parent)
    : QObject(parent)
    , m_folder(folder) {
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* socket = m_server.nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

bool RangeHttpServer::listen() {
    return m_server.listen(QHostAddress::LocalHost, 0);
}

QString RangeHttpServer::url(const QString& file) const {
    return QStringLiteral("http://127.0.0.1:%1/%2").arg(m_server.serverPort()).arg(file);
}

// One request per read: enough for a browser fetching a page and ranges of a video.
void RangeHttpServer::serve(QTcpSocket* socket) {
    const QByteArray request = socket->peek(64 * 1024);
    if (!request.contains("\r\n\r\n")) {
        return; // not all of it yet
    }
    socket->read(request.indexOf("\r\n\r\n") + 4);
    const QList<QByteArray> lines = request.left(request.indexOf("\r\n\r\n")).split('\n');
    const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
    emit requested(QString::fromUtf8(first.value(1)));
    const QString name = QString::fromUtf8(first.value(1)).mid(1).section(QLatin1Char('?'), 0, 0);
    QFile file(m_folder.filePath(QFileInfo(name).fileName()));
    if (name.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        socket->write("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
        return;
    }
    const qint64 size = file.size();
    qint64 from = 0;
    qint64 to = size - 1;
    bool partial = false;
    static const QRegularExpression range(QStringLiteral("^range:\\s*bytes=(\\d*)-(\\d*)"),
                                          QRegularExpression::CaseInsensitiveOption);
    for (const QByteArray& line : lines) {
        const auto match = range.match(QString::fromLatin1(line.trimmed()));
        if (match.hasMatch()) {
            partial = true;
            if (!match.captured(1).isEmpty()) {
                from = match.captured(1).toLongLong();
            }
            if (!match.captured(2).isEmpty()) {
                to = std::min(size - 1, match.captured(2).toLongLong());
            }
        }
    }
    if (from > to || from >= size) {
        socket->write("HTTP/1.1 416 Range Not Satisfiable\r\nContent-Range: bytes */" +
                      QByteArray::number(size) + "\r\nContent-Length: 0\r\n\r\n");
        return;
    }
    file.seek(from);
    const QByteArray body = file.read(to - from + 1);
    QByteArray head = partial ? "HTTP/1.1 206 Partial Content\r\n" : "HTTP/1.1 200 OK\r\n";
    head += "Content-Type: " + contentType(name) + "\r\nAccept-Ranges: bytes\r\n";
    if (partial) {
        head += "Content-Range: bytes " + QByteArray::number(from) + '-' + QByteArray::number(to) +
                '/' + QByteArray::number(size) + "\r\n";
    }
    head += "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n";
    socket->write(head + body);
}
