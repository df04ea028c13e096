#pragma once

#include <QCoroTask>
#include <QStringList>

class AISoftware;
class ShellService;
class SoftwareListViewModel;

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
    QCoro::Task<int> list(bool asJSON);
    QCoro::Task<int> operate(QString command, QString softwareId);
    /// Stays while the program runs; Ctrl-C leaves it running.
    QCoro::Task<int> startAndStay(AISoftware *software);
    void cancel(const QString &command, AISoftware *software);
    /// By the view model's error message, which it prints.
    int outcome() const;

    SoftwareListViewModel &m_viewModel;
    ShellService &m_shell;
};
