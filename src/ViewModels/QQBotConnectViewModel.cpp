#include "QQBotConnectViewModel.h"

#include <QRegularExpression>

namespace {

/// A page may say anything, so nothing but what these are made of may pass.
bool isCredential(const QString &text, const char *pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(QLatin1String(pattern))).match(text).hasMatch();
}

} // namespace

QQBotConnectViewModel &QQBotConnectViewModel::shared()
{
    static QQBotConnectViewModel viewModel(ShellService::shared());
    return viewModel;
}

QQBotConnectViewModel::QQBotConnectViewModel(ShellService &shell, QObject *parent)
    : QObject(parent)
    , m_shell(shell)
{
}

void QQBotConnectViewModel::begin(const QString &qqbotInstallCommand)
{
    if (m_showLog && !m_connectSuccess)
        return;
    m_qqbotInstallCommand = qqbotInstallCommand;
    setShowConnectAlert(false);
    setState(false, false);
}

void QQBotConnectViewModel::takeCredentials(const QString &appId, const QString &appSecret)
{
    if (!isCredential(appId, "[0-9]{8,15}") || !isCredential(appSecret, "[A-Za-z0-9]{20,64}"))
        return;
    m_detectedAppId = appId;
    m_detectedAppSecret = appSecret;
    Q_EMIT detected();
    setShowConnectAlert(true);
}

QList<QQBotConnectViewModel::Step> QQBotConnectViewModel::steps() const
{
    return {
        {QStringLiteral("安装 QQ 机器人插件"),
         m_qqbotInstallCommand.isEmpty()
             ? QStringLiteral("openclaw plugins install @tencent-connect/openclaw-qqbot@latest")
             : m_qqbotInstallCommand,
         {}},
        {QStringLiteral("添加 QQ 机器人频道"),
         QStringLiteral("openclaw channels add --channel qqbot --token \"$VAELIX_QQBOT_TOKEN\""),
         {{"VAELIX_QQBOT_TOKEN", (m_detectedAppId + u':' + m_detectedAppSecret).toUtf8()}}},
        {QStringLiteral("停止旧网关"),
         QStringLiteral("pkill -f 'openclaw gateway' 2>/dev/null; sleep 1; echo '旧网关已停止'"),
         {}},
        {QStringLiteral("启动网关"),
         QStringLiteral("nohup openclaw gateway > ~/.openclaw/gateway.log 2>&1 & sleep 2 && echo '网关已在后台启动'"),
         {}},
    };
}

QCoro::Task<> QQBotConnectViewModel::connectQQBot()
{
    if (m_showLog && !m_connectSuccess)
        co_return;
    m_connectLog.clear();
    setState(true, false);
    for (const Step &step : steps())
        co_await run(step);
    print(QStringLiteral("\n✅ QQ 机器人接入完成！"));
    setState(true, true);
}

QCoro::Task<> QQBotConnectViewModel::run(Step step)
{
    print(QStringLiteral("\n▶ %1...\n").arg(step.label));
    const OutputHandler onOutput = [this](QUtf8StringView text) { m_connectLog.append(text); };
    const auto exitCode = co_await m_shell.runWithStreaming(step.command, onOutput, step.variables);
    if (!exitCode)
        print(QStringLiteral("❌ %1\n").arg(exitCode.error().description));
    else if (*exitCode != 0)
        print(QStringLiteral("⚠️ 退出码: %1\n").arg(*exitCode));
    else
        print(QStringLiteral("✅ 完成\n"));
}

void QQBotConnectViewModel::print(const QString &text)
{
    m_connectLog.append(QUtf8StringView(text.toUtf8()));
}

void QQBotConnectViewModel::setShowConnectAlert(bool show)
{
    if (m_showConnectAlert == show)
        return;
    m_showConnectAlert = show;
    Q_EMIT showConnectAlertChanged();
}

void QQBotConnectViewModel::setState(bool showLog, bool connectSuccess)
{
    m_showLog = showLog;
    m_connectSuccess = connectSuccess;
    Q_EMIT stateChanged();
}
