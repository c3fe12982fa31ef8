#pragma once

#include <QDir>
#include <QTcpServer>

// Serves the files of one folder on 127.0.0.1 over HTTP/1.1, with byte ranges, which browsers
// need to seek in a video. Runs on the thread that made it.
class RangeHttpServer : public QObject {
    Q_OBJECT

public:
    explicit RangeHttpServer(const QString& folder, QObject* parent = nullptr);

    // False when no port could be had.
    bool listen();
    // The address of a file in the folder.
    QString url(const QString& file) const;

signals:
    // Every request, by its path and query ("/seeked?t=12.5"), as it comes in.
    void requested(const QString& target);

private:
    void serve(QTcpSocket* socket);

    QDir m_folder;
    QTcpServer m_server;
};
