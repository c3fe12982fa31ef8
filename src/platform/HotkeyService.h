#pragma once

#include "models/HotkeyBinding.h"

#include <QHash>
#include <QObject>
#include <QString>

// System-wide hotkeys, asked for as one set of bindings and answered by signal. Lives on the
// GUI thread, and every signal arrives there. A hotkey held down is one press and, where the
// system tells, one release: the keyboard's own repeats in between are never passed on.
class HotkeyService : public QObject {
    Q_OBJECT

public:
    // What became of one binding of the set.
    enum class Status {
        // Presses of its keys come as pressed(id).
        bound,
        // The keys cannot be had: another program holds them, or no key of this keyboard
        // makes them.
        taken,
        // The desktop, which hands out the keys, said no.
        refused,
        // The desktop bound it, to another trigger than asked for.
        reassigned,
    };
    struct Result {
        Status status = Status::bound;
        // The trigger the desktop gave a reassigned binding, as the program writes
        // combinations; empty otherwise.
        QString trigger;

        friend bool operator==(const Result&, const Result&) = default;
    };
    // By binding id.
    using Results = QHash<QString, Result>;

    using QObject::QObject;

    // Starts listening. Called once, before any binding; false when the session offers no
    // global hotkeys, and then nothing binds.
    virtual bool start() = 0;
    // Lets every binding go and stops listening; a hotkey held down now is not said to come up.
    virtual void stop() = 0;
    // Makes this set the one bound, in place of the last: an empty set lets every hotkey go.
    // Ids are unique within the set. Where the program takes the keys itself, two bindings of
    // the same keys are both bound, and presses go to the first. The results come as
    // resultsChanged, at once where the program takes the keys itself, once the desktop has
    // answered where it hands them out.
    virtual void bind(const HotkeyBindings& bindings) = 0;

    // The means by which presses reach the program, as the Permissions tab names it ("X11 key
    // grabs"), once the session is known to give it; empty where the platform names none, or
    // while there is none.
    virtual QString mechanism() const { return {}; }

signals:
    void pressed(const QString& id);
    void released(const QString& id);
    // The result of every binding of the set last bound.
    void resultsChanged(const HotkeyService::Results& results);
    void mechanismChanged(const QString& mechanism);
    // The desktop has said that it gives no global hotkeys.
    void unavailable();
};
