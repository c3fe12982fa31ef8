#pragma once

#include <QString>

#include <functional>

// An informational alert with one button, as the services ask for it. The views decide how it
// looks; the services only say what it tells.
struct UserAlert {
    QString messageText;
    QString informativeText;
    QString buttonTitle;
};

namespace UserAlerts {

using Presenter = std::function<void(const UserAlert&)>;

// Who shows alerts. Called on the GUI thread, once per posted alert.
void setPresenter(Presenter presenter);

// Shows the alert on the GUI thread once the current event is done. Callable from any thread;
// never waits for the user.
void post(const UserAlert& alert);

} // namespace UserAlerts
