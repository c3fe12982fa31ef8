#include "WebAddresses.h"

WebAddresses::WebAddresses(QUrl base)
    : m_base(std::move(base)) {}

WebAddresses WebAddresses::configured(const QString& builtIn) {
    const QString chosen = qEnvironmentVariable(overrideVariable);
    return WebAddresses(QUrl(chosen.isEmpty() ? builtIn : chosen));
}

QUrl WebAddresses::at(const QString& path) const {
    if (!m_base.isValid() || m_base.isRelative()) {
        return {};
    }
    QUrl url = m_base;
    // Under the base's own path, if it has one, as a self-hosted copy may.
    QString basePath = url.path();
    while (basePath.endsWith(QLatin1Char('/'))) {
        basePath.chop(1);
    }
    url.setPath(basePath + path);
    return url;
}

QString WebAddresses::websiteText() const {
    const QUrl site = website();
    return site.toString(QUrl::RemoveScheme | QUrl::RemoveUserInfo).mid(2);
}
