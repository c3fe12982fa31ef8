#pragma once

#include <QUrl>

// The product's addresses on its web host: the update document, the download page and the
// website, all under one base address.
class WebAddresses {
public:
    // The environment variable that replaces the built-in base, for self-hosting and tests.
    static constexpr const char* overrideVariable = "SCRUBLINE_UPDATE_URL";

    explicit WebAddresses(QUrl base);
    // `builtIn`, unless the environment names another base.
    static WebAddresses configured(const QString& builtIn);

    const QUrl& base() const { return m_base; }
    QUrl updateDocument() const { return at(QStringLiteral("/scrubline/version.json")); }
    QUrl downloadPage() const { return at(QStringLiteral("/scrubline/download")); }
    QUrl website() const { return at(QStringLiteral("/scrubline")); }
    // The website as its link reads: host and path, without the scheme.
    QString websiteText() const;

private:
    QUrl at(const QString& path) const;

    QUrl m_base;
};
