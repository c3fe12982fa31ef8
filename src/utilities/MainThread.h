#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

namespace MainThread {

// Runs `work` on the GUI thread once the current event is done, unless `context` is gone by
// then. Callable from any thread; the guard must have been made on the GUI thread, before the
// work left it, since an object being destroyed there cannot safely be guarded from elsewhere.
void post(QPointer<QObject> context, std::function<void()> work);

} // namespace MainThread
