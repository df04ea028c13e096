#pragma once

#include <QStringList>

/// The application with its window.
namespace VaelixApp {

/// Opens the main window and runs until it is closed; the result is the process's exit code. When
/// the application runs already, it has that one open the `addresses` and ends. The arguments are
/// those of Qt.
int run(int argc, char *argv[], const QStringList &addresses);

} // namespace VaelixApp
