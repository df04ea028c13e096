#include "WeChatConnectViewModel.h"

#include "Services/APIService.h"
#include "Services/ShellService.h"
#include "Utilities/Text.h"

#include <QRegularExpression>

namespace {

/// Calls the agent by its full path, with its own runtime first on the search path.
const QString agent = QStringLiteral("export PATH=\"$HOME/.openclaw/node/bin:$PATH\" && $HOME/.openclaw/bin/openclaw");

const QString gatewayStop = agent + QStringLiteral(" gateway stop 2>/dev/null; sleep 1; echo '旧网关已停止'");

const QString weChatLogin = agent + QStringLiteral(" channels login --channel openclaw-weixin 2>&1");

const QString gatewayRestart = agent
    + QStringLiteral(" gateway stop 2>/dev/null; sleep 2; pkill -f 'openclaw gateway' 2>/dev/null; "
                     "pkill -f 'openclaw-gateway' 2>/dev/null; sleep 1 && nohup $HOME/.openclaw/bin/openclaw gateway "
                     "> ~/.openclaw/gateway.log 2>&1 & sleep 3 && echo '网关已在后台启动'");

const QString gatewayLog =
    QStringLiteral("sleep 3 && tail -20 ~/.openclaw/gateway.log 2>/dev/null || echo '无法读取日志'");

QString pluginDownload(const QString &apiBase)
{
    return QStringLiteral("mkdir -p ~/.openclaw/extensions && curl -fSL ") + shellWord(apiBase)
        + QStringLiteral("/software/files/weixin/download -o /tmp/openclaw-weixin.zip && "
                         "unzip -qo /tmp/openclaw-weixin.zip -d ~/.openclaw/extensions/ && "
                         "rm /tmp/openclaw-weixin.zip && echo '插件安装完成'");
}

bool containsAny(const QString &text, std::initializer_list<const char *> phrases)
{
    return std::ranges::any_of(phrases, [&](const char *phrase) { return text.contains(QString::fromUtf8(phrase)); });
}

/// What the agent says of its plug-ins before the login begins.
bool isNoise(const QString &lowerCase)
{
    return containsAny(lowerCase, {"[plugins]", "plugins.allow", "discovered non-bundled"});
}

bool saysSuccess(const QString &lowerCase)
{
    return containsAny(lowerCase, {"连接成功", "login success", "confirmed", "扫码成功", "登录成功"});
}

/// One piece of output may hold the code together with noise, as pieces end where reading does.
bool holdsCode(const QString &text)
{
    return containsAny(text, {"█", "▀", "▄"});
}

QString withoutNoiseLines(const QString &text)
{
    QString kept;
    for (qsizetype begin = 0; begin < text.size();) {
        const qsizetype lineEnd = text.indexOf(u'\n', begin);
        const qsizetype end = lineEnd < 0 ? text.size() : lineEnd + 1;
        const QString line = text.sliced(begin, end - begin);
        if (!isNoise(line.toLower()))
            kept += line;
        begin = end;
    }
    return kept;
}

} // namespace

QString withoutControlSequences(QString text)
{
    static const QRegularExpression sequences(QStringLiteral("(\\e\\[[0-9;]*[a-zA-Z]|\\[[0-9;]*m)"));
    return text.remove(sequences);
}

WeChatConnectViewModel &WeChatConnectViewModel::shared()
{
    static WeChatConnectViewModel viewModel(ShellService::shared(), APIService::shared().baseURL());
    return viewModel;
}

WeChatConnectViewModel::WeChatConnectViewModel(ShellService &shell, QString apiBase, QObject *parent)
    : QObject(parent)
    , m_shell(shell)
    , m_apiBase(std::move(apiBase))
{
}

QCoro::Task<> WeChatConnectViewModel::runInstall(QString weixinInstallCommand)
{
    if (m_isBusy)
        co_return;
    m_isBusy = true;
    setState(false, false, false);
    m_output.clear();
    const QString install = weixinInstallCommand.isEmpty() ? pluginDownload(m_apiBase) : weixinInstallCommand;
    co_await prepare(QStringLiteral("安装微信插件"), install);
    co_await prepare(QStringLiteral("停止旧网关"), gatewayStop);
    co_await login();
    if (m_isSuccess)
        co_await restartGateway();
    setState(false, m_isSuccess, !m_isSuccess);
    m_isBusy = false;
}

QCoro::Task<> WeChatConnectViewModel::prepare(QString label, QString command)
{
    print(QStringLiteral("\n▶ %1\n").arg(label));
    const auto exitCode = co_await run(command, &WeChatConnectViewModel::takeOutput);
    if (exitCode)
        printEnding(*exitCode);
    else
        print(QStringLiteral("❌ %1\n").arg(exitCode.error()));
}

QCoro::Task<> WeChatConnectViewModel::login()
{
    print(QStringLiteral("\n▶ 微信扫码登录\n"));
    print(QStringLiteral("  正在加载运行时，请稍候（首次约需30秒）...\n"));
    setState(true, m_isSuccess, m_isFailed);
    const auto exitCode = co_await run(weChatLogin, &WeChatConnectViewModel::takeLoginOutput);
    if (!exitCode) {
        print(QStringLiteral("❌ %1\n").arg(exitCode.error()));
    } else if (*exitCode != 0) {
        printEnding(*exitCode);
    } else {
        setState(false, true, m_isFailed);
        print(QStringLiteral("✅ 登录完成\n"));
    }
}

QCoro::Task<> WeChatConnectViewModel::restartGateway()
{
    print(QStringLiteral("\n▶ 启动网关\n"));
    const auto exitCode = co_await run(gatewayRestart, &WeChatConnectViewModel::takeOutput);
    if (exitCode)
        printEnding(*exitCode);
    else
        print(QStringLiteral("⚠️ 网关启动失败: %1\n").arg(exitCode.error()));

    print(QStringLiteral("\n▶ 检查网关状态\n"));
    const auto logged = co_await run(gatewayLog, &WeChatConnectViewModel::takeOutput);
    if (!logged)
        print(QStringLiteral("⚠️ %1\n").arg(logged.error()));
}

QCoro::Task<std::expected<int, QString>>
WeChatConnectViewModel::run(QString command, void (WeChatConnectViewModel::*take)(const QString &))
{
    const OutputHandler onOutput = [this, take](QUtf8StringView text) {
        (this->*take)(withoutControlSequences(text.toString()));
    };
    const auto exitCode = co_await m_shell.runWithStreaming(command, onOutput);
    if (!exitCode)
        co_return std::unexpected(exitCode.error().description);
    co_return *exitCode;
}

void WeChatConnectViewModel::takeOutput(const QString &text)
{
    print(text);
}

void WeChatConnectViewModel::takeLoginOutput(const QString &text)
{
    QString shown = text;
    if (isNoise(text.toLower()))
        shown = holdsCode(text) ? withoutNoiseLines(text) : QString();
    if (shown.trimmed().isEmpty())
        return;
    print(shown);
    if (saysSuccess(shown.toLower()))
        setState(false, true, m_isFailed);
}

void WeChatConnectViewModel::print(const QString &text)
{
    m_output.append(QUtf8StringView(text.toUtf8()));
}

void WeChatConnectViewModel::printEnding(int exitCode)
{
    print(exitCode == 0 ? QStringLiteral("✅ 完成\n") : QStringLiteral("⚠️ 退出码: %1\n").arg(exitCode));
}

void WeChatConnectViewModel::setState(bool isRunning, bool isSuccess, bool isFailed)
{
    m_isRunning = isRunning;
    m_isSuccess = isSuccess;
    m_isFailed = isFailed;
    Q_EMIT stateChanged();
}
