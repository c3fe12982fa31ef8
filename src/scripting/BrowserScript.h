#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

#include <functional>

// The AppleScript skeletons shared by the browser scripts: find a YouTube tab, then act on it
// with JavaScript. Scripts begin with four spaces before `tell` and lines are joined by single
// line feeds, without one at the end.
namespace BrowserScript {

// Lines of AppleScript that act on the tab `t`. A line may carry a JavaScript program with
// line feeds of its own; only the first of its lines is indented.
using Action = QStringList;

// How a browser runs a JavaScript program in the tab `t`, as one line of AppleScript.
using RunProgram = QString (*)(const QString& program);

// Seeks the tab's video when the paused test answers 'false', and returns "true".
Action seekAction(RunProgram run, const QString& pausedJS, const QString& seekJS);
// Runs the toggle whatever it answers, and returns "true".
Action toggleAction(RunProgram run, const QString& toggleJS);
// Returns the title program's answer unless it is empty.
Action titleAction(RunProgram run, const QString& titleJS);

// Tries the front tab first and then every tab of every window in order, and runs `action` on
// the first tab whose URL passes `urlCheck`. The action returns "true" when it is done; the
// script returns "false" when no tab did it, and "error" when the windows cannot be counted.
// `frontTab` names the front tab in the browser's dictionary ("active tab", "current tab").
QString sweep(QStringView application, QStringView frontTab, const QString& urlCheck,
              const Action& action);

// Runs `action` on the front tab only, when its URL passes `urlCheck`. The action returns its
// answer; the script returns "" otherwise, also when the windows cannot be counted.
QString frontTabOnly(QStringView application, QStringView frontTab, const QString& urlCheck,
                     const Action& action);

} // namespace BrowserScript
