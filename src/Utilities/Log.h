#pragma once

#include <QString>
#include <cstdio>

/// The application's own log: one line each, for whoever started it from a terminal.
namespace Log {

/// Writes `line` and a line feed to the log stream, standard output unless moved.
void line(const QString &line);

/// The command line keeps standard output for its results and moves the log to standard error.
void setStream(std::FILE *stream);

} // namespace Log
