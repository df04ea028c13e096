#pragma once

#include <QCoroTask>
#include <QStringList>

class AISoftware;
class UserDefaults;
class ShellService;
class SoftwareListViewModel;
class TerminationSignals;

/// The command line's commands, run without a display through the view model of the software
/// screens. What the terminal pane would show goes to standard output, the error message to
/// standard error, the application's log too.
class CommandLine
{
public:
    enum ExitCode { Success = 0, Failure = 1, WrongUse = 2 };

    CommandLine(SoftwareListViewModel &viewModel, ShellService &shell, UserDefaults &defaults);

    /// Runs the command to its end; the result is an ExitCode. What could not be printed, or kept in the settings,
    /// makes it a failure and is told on standard error; of a reader that has closed the output nothing is told.
    QCoro::Task<int> run(QStringList arguments);

private:
    QCoro::Task<int> execute(QStringList arguments);
    /// Flushes what is still to be written; false when something was not.
    bool isAllWritten();
    void print(QByteArrayView utf8);
    int printHelp();
    int printVersion();
    /// Loads the list; an interrupt meanwhile ends the program.
    QCoro::Task<> load();
    QCoro::Task<int> list(bool asJSON);
    QCoro::Task<int> operate(QString command, QString softwareId);
    /// Stays while the program runs; Ctrl-C leaves it running.
    QCoro::Task<int> startAndStay(AISoftware *software);
    void leaveOn(const TerminationSignals &interrupts);
    /// Ends the program as the signal would, and with it what nobody waits for any more.
    [[noreturn]] void leave(int signal);
    void cancel(const QString &command, AISoftware *software);
    /// By the view model's error message, which it prints.
    int outcome() const;

    SoftwareListViewModel &m_viewModel;
    ShellService &m_shell;
    UserDefaults &m_defaults;
    int m_outputError = 0; ///< the system's number of the first one
};
