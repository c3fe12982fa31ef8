#include "UpdateChecker.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace {

const QString unparsable = QStringLiteral("Could not parse response.");
const QString couldNotCheck = QStringLiteral("Could not check: ");

// Whether the reply came back from the server, whatever its status: the body decides then.
bool cameFromServer(const QNetworkReply& reply) {
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid() &&
           reply.error() != QNetworkReply::OperationCanceledError &&
           reply.error() != QNetworkReply::TimeoutError &&
           reply.error() != QNetworkReply::InsecureRedirectError &&
           reply.error() != QNetworkReply::TooManyRedirectsError;
}

} // namespace

UpdateChecker::UpdateChecker(QString currentVersion, QUrl document, QObject* parent)
    : QObject(parent)
    , m_currentVersion(std::move(currentVersion))
    , m_document(std::move(document))
    , m_network(new QNetworkAccessManager(this)) {}

UpdateChecker::~UpdateChecker() {
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
    }
}

bool UpdateChecker::isChecking() const {
    return !m_reply.isNull();
}

bool UpdateChecker::check() {
    if (m_reply || !m_document.isValid() || m_document.isRelative()) {
        return false;
    }
    QNetworkRequest request(m_document);
    request.setTransferTimeout(m_timeoutMs);
    // Never from https down to http, which would let anyone on the way answer for the server.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    m_tooLarge = false;
    m_reply = m_network->get(request);
    connect(m_reply, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64 total) {
        if (received > largestBody || total > largestBody) {
            m_tooLarge = true;
            m_reply->abort();
        }
    });
    connect(m_reply, &QNetworkReply::finished, this, &UpdateChecker::done);
    return true;
}

void UpdateChecker::done() {
    QNetworkReply* reply = m_reply;
    m_reply = nullptr;
    if (reply == nullptr) {
        return;
    }
    reply->deleteLater();
    QString status;
    bool updateAvailable = false;
    if (m_tooLarge) {
        status = unparsable;
    } else if (reply->error() == QNetworkReply::NoError || cameFromServer(*reply)) {
        const QByteArray body = reply->readAll();
        status = statusForBody(body, m_currentVersion);
        const std::optional<QString> latest = latestVersion(body);
        updateAvailable = latest && *latest != m_currentVersion;
    } else {
        status = couldNotCheck + reply->errorString();
    }
    emit finished(status, updateAvailable);
}

std::optional<QString> UpdateChecker::latestVersion(const QByteArray& body) {
    if (body.isEmpty() || body.size() > largestBody) {
        return std::nullopt;
    }
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return std::nullopt;
    }
    const QJsonValue version = document.object().value(QStringLiteral("version"));
    if (!version.isString()) {
        return std::nullopt;
    }
    return version.toString();
}

QString UpdateChecker::statusForBody(const QByteArray& body, const QString& currentVersion) {
    const std::optional<QString> latest = latestVersion(body);
    if (!latest) {
        return unparsable;
    }
    // Exact text: an older version, or the same one written otherwise, is offered as an update.
    if (*latest == currentVersion) {
        return QStringLiteral("You are up to date (v") + *latest + QStringLiteral(").");
    }
    return QStringLiteral("Update available: v") + *latest;
}
