#pragma once

#include "LoginItem.h"
#include "ScriptEngine.h"

#include <QSettings>
#include <QString>

#include <memory>

// The one factory of platform facilities. Exactly one implementation is compiled in.
namespace Platform {

// The per-user store of the program's preferences.
std::unique_ptr<QSettings> openUserDefaults();

std::unique_ptr<LoginItem> createLoginItem();

// The host that runs player scripts, or null where players are not driven by scripts.
std::shared_ptr<ScriptEngine> createScriptEngine();

// Why no graphical session can be used, or an empty string when one can. Checked before the
// toolkit starts, which would otherwise abort with a long message of its own.
QString displayProblem();

} // namespace Platform
