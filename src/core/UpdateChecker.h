#pragma once

#include <QObject>
#include <QPointer>
#include <QUrl>

#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

// Asks the update document for the latest version and words the answer as the About tab shows
// it. Only ever runs when asked; nothing is sent otherwise.
class UpdateChecker : public QObject {
    Q_OBJECT

public:
    static constexpr int defaultTimeoutMs = 10'000;
    // A version document is a few bytes; anything this large is not one.
    static constexpr qint64 largestBody = 1024 * 1024;

    UpdateChecker(QString currentVersion, QUrl document, QObject* parent = nullptr);
    ~UpdateChecker() override;

    // How long a transfer may go without a byte before it is given up.
    void setTimeout(int milliseconds) { m_timeoutMs = milliseconds; }

    bool isChecking() const;
    // Starts a check, unless one is under way; answers whether one started. A document address
    // that cannot be used starts nothing.
    bool check();

    // The status line for a body, whatever the HTTP status that came with it.
    static QString statusForBody(const QByteArray& body, const QString& currentVersion);

signals:
    // `updateAvailable`: the server names a version other than this one.
    void finished(const QString& status, bool updateAvailable);

private:
    void done();
    // The version a body names; nothing when it is not a version document.
    static std::optional<QString> latestVersion(const QByteArray& body);

    QString m_currentVersion;
    QUrl m_document;
    int m_timeoutMs = defaultTimeoutMs;
    QNetworkAccessManager* m_network = nullptr;
    QPointer<QNetworkReply> m_reply;
    bool m_tooLarge = false;
};
