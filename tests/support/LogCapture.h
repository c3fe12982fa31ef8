#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>

// Records every message logged while it lives (and still prints them), so a test can assert
// which channel a message went to, at which level, and how often.
class LogCapture {
public:
    struct Entry {
        QString category;
        QtMsgType type;
        QString message;
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QList<Entry> entries() const;
    // How many entries match exactly.
    int count(const QString& category, QtMsgType type, const QString& message) const;
    // How many entries, of any channel and level, contain the text.
    int countContaining(const QString& text) const;
    void clear();

private:
    static void handler(QtMsgType type, const QMessageLogContext& context, const QString& message);
    QtMessageHandler m_previous;
};
