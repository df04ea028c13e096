#pragma once

#include <QCoroTask>
#include <QStringList>

class AISoftware;
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

    CommandLine(SoftwareListViewModel &viewModel, ShellService &shell);

    /// Runs the command to its end; the result is an ExitCode.
    QCoro::Task<int> run(QStringList arguments);

private:
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
};
