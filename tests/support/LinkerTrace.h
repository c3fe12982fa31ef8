#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QStringList>

// What shared libraries a process loaded, as the dynamic linker itself tells (LD_DEBUG=files):
// the libraries it was linked with and any opened later.
namespace LinkerTrace {

// Makes a process started with `environment` tell what it loads, on its standard error.
void enable(QProcessEnvironment& environment);

// The libraries named in `err`, which keeps the process's own lines only.
QStringList takeLibraries(QByteArray& err);

} // namespace LinkerTrace
