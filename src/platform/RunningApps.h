#pragma once

#include <QObject>
#include <QSet>
#include <QString>

// The applications running now, by the name the user sees, with word of each that starts or
// ends. Signals arrive on the GUI thread.
class RunningApps : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual QSet<QString> runningNames() const = 0;

signals:
    void launched(const QString& name);
    void terminated(const QString& name);
};
