#pragma once

#include <QString>

// An informational alert with one button. Whoever finds that the user must act says what it
// tells; the views decide how it looks.
struct UserAlert {
    QString messageText;
    QString informativeText;
    QString buttonTitle;

    friend bool operator==(const UserAlert&, const UserAlert&) = default;
};
