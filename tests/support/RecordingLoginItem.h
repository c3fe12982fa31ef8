#pragma once

#include "platform/LoginItem.h"

#include <QList>
#include <QString>

#include <memory>

// Stands for the service-management login item, which exists only on macOS: records each call
// and answers with a chosen error; a call that failed leaves the state as it was.
class RecordingLoginItem final : public LoginItem {
public:
    struct Record {
        QList<bool> calls;
        QString error; // empty: every call succeeds
        bool enabled = false;
    };

    explicit RecordingLoginItem(std::shared_ptr<Record> record)
        : m_record(std::move(record)) {}

    QString setEnabled(bool enabled) override {
        m_record->calls.append(enabled);
        if (m_record->error.isEmpty()) {
            m_record->enabled = enabled;
        }
        return m_record->error;
    }

    bool isEnabled() const override { return m_record->enabled; }

private:
    std::shared_ptr<Record> m_record;
};
