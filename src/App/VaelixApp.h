#pragma once

/// The application with its window.
namespace VaelixApp {

/// Opens the main window and runs until it is closed; the result is the process's exit code.
int run(int argc, char *argv[]);

} // namespace VaelixApp
