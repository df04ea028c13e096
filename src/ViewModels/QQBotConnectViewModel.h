#pragma once

#include "Services/ShellService.h"
#include "TerminalOutput.h"

#include <QCoroTask>

/// Connects OpenClaw to a QQ bot: takes the bot's credentials from the platform's page, asks, and runs
/// the agent's commands. A run goes on when its sheet is closed, and the sheet shows it when it is
/// opened again, so there is one for the whole life of the application. Interface thread only.
class QQBotConnectViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString detectedAppId READ detectedAppId NOTIFY detected)
    Q_PROPERTY(QString detectedAppSecret READ detectedAppSecret NOTIFY detected)
    Q_PROPERTY(bool showConnectAlert READ showConnectAlert WRITE setShowConnectAlert NOTIFY showConnectAlertChanged)
    Q_PROPERTY(TerminalOutput *connectLog READ connectLog CONSTANT)
    Q_PROPERTY(bool showLog READ showLog NOTIFY stateChanged)
    Q_PROPERTY(bool connectSuccess READ connectSuccess NOTIFY stateChanged)

public:
    static QQBotConnectViewModel &shared();

    explicit QQBotConnectViewModel(ShellService &shell, QObject *parent = nullptr);

    /// The sheet opens. It starts at the page again, unless a run is still under way.
    Q_INVOKABLE void begin(const QString &qqbotInstallCommand);

    /// The page showed a bot's credentials: asks whether to connect it. Later ones replace them; what
    /// cannot be one, as a page may say anything, is ignored.
    Q_INVOKABLE void takeCredentials(const QString &appId, const QString &appSecret);

    /// Runs the steps one after another, each whatever became of the one before; connectLog tells.
    QCoro::Task<> connectQQBot();

    QString detectedAppId() const { return m_detectedAppId; }
    QString detectedAppSecret() const { return m_detectedAppSecret; }
    bool showConnectAlert() const { return m_showConnectAlert; }
    void setShowConnectAlert(bool show);
    TerminalOutput *connectLog() { return &m_connectLog; }
    /// A run is under way or over.
    bool showLog() const { return m_showLog; }
    /// The run is over.
    bool connectSuccess() const { return m_connectSuccess; }

Q_SIGNALS:
    void detected();
    void showConnectAlertChanged();
    void stateChanged();

private:
    struct Step {
        QString label;
        QString command;
        ShellService::Environment variables;
    };

    QList<Step> steps() const;
    QCoro::Task<> run(Step step);
    void print(const QString &text);
    void setState(bool showLog, bool connectSuccess);

    ShellService &m_shell;
    QString m_qqbotInstallCommand;
    QString m_detectedAppId;
    QString m_detectedAppSecret;
    bool m_showConnectAlert = false;
    TerminalOutput m_connectLog;
    bool m_showLog = false;
    bool m_connectSuccess = false;
};
