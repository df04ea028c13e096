#pragma once

#include "TerminalOutput.h"

#include <QCoroTask>
#include <expected>

class ShellService;

/// Connects OpenClaw to a WeChat account: installs the agent's plug-in, runs its login, whose QR code
/// the user scans from the output, and starts the agent's gateway anew. A run goes on when its sheet
/// is closed, and the sheet shows it when it is opened again, so there is one for the whole life of
/// the application. Interface thread only.
class WeChatConnectViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(TerminalOutput *output READ output CONSTANT)
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY stateChanged)
    Q_PROPERTY(bool isSuccess READ isSuccess NOTIFY stateChanged)
    Q_PROPERTY(bool isFailed READ isFailed NOTIFY stateChanged)

public:
    static WeChatConnectViewModel &shared();

    /// `apiBase` is the account server's, whose plug-in archive serves when the catalog names no
    /// command of its own.
    explicit WeChatConnectViewModel(ShellService &shell, QString apiBase, QObject *parent = nullptr);

    /// Runs all steps from the beginning; does nothing while they run.
    QCoro::Task<> runInstall(QString weixinInstallCommand);

    TerminalOutput *output() { return &m_output; }
    /// The login waits for the code to be scanned.
    bool isRunning() const { return m_isRunning; }
    bool isSuccess() const { return m_isSuccess; }
    /// The run ended without a login.
    bool isFailed() const { return m_isFailed; }

Q_SIGNALS:
    void stateChanged();

private:
    /// Runs the command, printing what the filter leaves of its output; the exit status, or why it
    /// was not started.
    QCoro::Task<std::expected<int, QString>> run(QString command,
                                                 void (WeChatConnectViewModel::*take)(const QString &));
    QCoro::Task<> prepare(QString label, QString command);
    QCoro::Task<> login();
    QCoro::Task<> restartGateway();

    void takeOutput(const QString &text);
    void takeLoginOutput(const QString &text);
    void print(const QString &text);
    void printEnding(int exitCode);
    void setState(bool isRunning, bool isSuccess, bool isFailed);

    ShellService &m_shell;
    const QString m_apiBase;
    TerminalOutput m_output;
    bool m_isBusy = false;
    bool m_isRunning = false;
    bool m_isSuccess = false;
    bool m_isFailed = false;
};

/// The text without terminal control sequences, and without colour codes that have lost their escape
/// character.
QString withoutControlSequences(QString text);
