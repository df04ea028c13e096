// Configuring the agents and telling what they are connected to; the operations that all software has are in
// SoftwareListViewModelOperations.cpp.
#include "SoftwareListViewModel.h"

#include "Platform/AtomicFile.h"
#include "Platform/Folders.h"
#include "Platform/Workspace.h"
#include "Services/HermesService.h"
#include "Services/KeychainService.h"
#include "Services/OpenClawService.h"
#include "Utilities/Deployment.h"
#include "Utilities/Text.h"

#include <QFile>

namespace {

const QString openClawId = QStringLiteral("openclaw");
const QString hermesId = QStringLiteral("hermes");

const QString gatewayRestart =
    QStringLiteral("kill $(lsof -ti :18789) 2>/dev/null; sleep 1; nohup ~/.openclaw/bin/openclaw gateway "
                   ">> ~/.openclaw/logs/gateway.log 2>&1 &");

const QString chatScriptPath = QStringLiteral("/tmp/hermes-chat.command");

constexpr QFile::Permissions scriptPermissions = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
    | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;

QByteArray chatScript(const QString &home)
{
    return QStringLiteral("#!/bin/bash\n"
                          "# 切换当前终端窗口为 Pro（深色）profile\n"
                          "osascript -e 'tell application \"Terminal\" to set current settings of front window to "
                          "settings set \"Pro\"' 2>/dev/null\n"
                          "export PATH=\"%1/.local/bin:$PATH\"\n"
                          "clear\n"
                          "hermes chat")
        .arg(escapedForDoubleQuotes(home))
        .toUtf8();
}

} // namespace

QCoro::Task<> SoftwareListViewModel::configure(AISoftware *software)
{
    const QPointer self(this);
    const SoftwareCatalogEntry *const entry = SoftwareCatalog::find(m_catalog, software->id());
    if (!entry || entry->configCommand.isEmpty()) {
        setErrorMessage(QStringLiteral("该软件没有配置命令"));
        co_return;
    }
    const QString id = entry->id;
    const QString commandLine = entry->configCommand;
    const int operation = beginOperation();
    const auto lock = co_await takeProgram(id, configureKind.verb);
    if (!self)
        co_return;
    if (!lock) {
        endOperation(operation);
        co_return;
    }
    print(QStringLiteral(">>> 执行配置 (已注入 API 凭据)\n"));
    const auto exitCode = co_await m_services.installer.shell().runWithStreaming(
        commandLine, outputHandler(id, configureKind.name), credentials());
    if (!self)
        co_return;
    if (!exitCode) {
        print(QStringLiteral("❌ 执行失败: %1\n").arg(exitCode.error().description));
        setErrorMessage(exitCode.error().description);
    } else if (*exitCode != 0) {
        print(QStringLiteral("\n❌ 配置失败 (exit code: %1)\n").arg(*exitCode));
        setErrorMessage(QStringLiteral("配置脚本执行失败"));
    } else {
        print(QStringLiteral("\n✅ 配置完成\n"));
        checkConfigStatus();
    }
    endOperation(operation);
}

ShellService::Environment SoftwareListViewModel::credentials() const
{
    const QString key = m_services.keychain.get(QStringLiteral("user_api_key")).value_or(QString());
    return {{"QUENDA_API_KEY", key.toUtf8()},
            {"QUENDA_API_URL", (Deployment::cloudAPIOrigin() + QStringLiteral("/v1")).toUtf8()}};
}

QCoro::Task<> SoftwareListViewModel::openChat(AISoftware *)
{
    m_terminalOutput.clear();
    print(QStringLiteral(">>> 启动 OpenClaw Gateway...\n"));
    runGateway();
    co_return;
}

QCoro::Task<> SoftwareListViewModel::runGateway()
{
    const QPointer self(this);
    // The gateway runs on; how it ends is nobody's concern here.
    const auto exitCode = co_await m_services.installer.shell().runWithStreaming(
        QStringLiteral("~/.openclaw/bin/openclaw gateway"), outputHandler(openClawId, startKind.name));
    if (!self || exitCode)
        co_return;
    print(QStringLiteral("\n❌ 启动失败: %1\n").arg(exitCode.error().description));
    setErrorMessage(exitCode.error().description);
}

void SoftwareListViewModel::openHermesChat()
{
    // Where the script could not be written, the workspace says why it does not open.
    if (writeAtomically(chatScriptPath, chatScript(m_services.folders.home)))
        QFile::setPermissions(chatScriptPath, scriptPermissions);
    if (const auto opened = m_services.workspace.openCommandFile(chatScriptPath); !opened)
        setErrorMessage(opened.error().description);
}

QCoro::Task<> SoftwareListViewModel::setupHermesGateway()
{
    const QPointer self(this);
    const int operation = beginOperation();
    const auto lock = co_await takeProgram(hermesId, configureKind.verb);
    if (!self)
        co_return;
    if (!lock) {
        endOperation(operation);
        co_return;
    }
    print(QStringLiteral(">>> 配置 Hermes 网关平台...\n"));
    const auto exitCode = co_await m_services.installer.shell().runWithStreaming(
        QStringLiteral("hermes gateway setup"), outputHandler(hermesId, configureKind.name), credentials());
    if (!self)
        co_return;
    if (!exitCode) {
        print(QStringLiteral("❌ 执行失败: %1\n").arg(exitCode.error().description));
    } else if (*exitCode != 0) {
        print(QStringLiteral("\n❌ 配置失败 (exit code: %1)\n").arg(*exitCode));
    } else {
        print(QStringLiteral("\n✅ 网关配置完成\n"));
        checkConfigStatus();
        checkHermesConnections();
    }
    endOperation(operation);
}

QCoro::Task<> SoftwareListViewModel::disableApprovals()
{
    if (m_selectedSoftware && m_selectedSoftware->id() == hermesId) {
        if (const auto written = m_services.hermes.disableApprovals(); !written)
            setErrorMessage(written.error().description);
        m_agents.isApprovalsDisabled = true;
        Q_EMIT agentStateChanged();
        co_return;
    }
    if (const auto written = m_services.openClaw.disableApprovals(); !written) {
        setErrorMessage(QStringLiteral("写入 exec-approvals.json 失败：") + written.error().description);
        co_return;
    }
    const QPointer self(this);
    const auto restarted = co_await m_services.installer.shell().run(gatewayRestart);
    if (!self)
        co_return;
    if (!restarted)
        setErrorMessage(restarted.error().description);
    checkApprovalsStatus();
}

void SoftwareListViewModel::saveOpenClawConfig()
{
    if (const auto written = m_services.openClaw.writeConfig(m_openClawConfig); !written)
        setErrorMessage(written.error().description);
    setShowOpenClawConfig(false);
}

void SoftwareListViewModel::checkQQBotConnection()
{
    m_agents.isQQBotConnected = m_services.openClaw.isQQBotConnected();
    Q_EMIT agentStateChanged();
}

void SoftwareListViewModel::checkWeChatConnection()
{
    m_agents.isWeChatConnected = m_services.openClaw.isWeChatConnected() || m_services.hermes.isWeChatConnected();
    Q_EMIT agentStateChanged();
}

void SoftwareListViewModel::checkApprovalsStatus()
{
    m_agents.isApprovalsDisabled = m_services.openClaw.isApprovalsDisabled() || m_services.hermes.isApprovalsDisabled();
    Q_EMIT agentStateChanged();
}

void SoftwareListViewModel::checkHermesConnections()
{
    m_agents.isHermesTelegramConnected = m_services.hermes.isTelegramConnected();
    m_agents.isHermesDiscordConnected = m_services.hermes.isDiscordConnected();
    m_agents.isHermesWeChatConnected = m_services.hermes.isWeChatConnected();
    Q_EMIT agentStateChanged();
}

void SoftwareListViewModel::beginQQBotConnection()
{
    const SoftwareCatalogEntry *const entry = SoftwareCatalog::find(m_catalog, openClawId);
    m_services.qqBotConnection.begin(entry ? entry->qqbotInstallCommand : QString());
}

QCoro::Task<> SoftwareListViewModel::connectWeChat()
{
    const SoftwareCatalogEntry *const entry = SoftwareCatalog::find(m_catalog, openClawId);
    return m_services.weChatConnection.runInstall(entry ? entry->weixinInstallCommand : QString());
}

void SoftwareListViewModel::forgetConnections(const QString &softwareId)
{
    if (softwareId == openClawId) {
        m_agents.isQQBotConnected = false;
        m_agents.isWeChatConnected = false;
    } else if (softwareId == hermesId) {
        m_agents.isHermesTelegramConnected = false;
        m_agents.isHermesDiscordConnected = false;
        m_agents.isHermesWeChatConnected = false;
    }
    Q_EMIT agentStateChanged();
}

void SoftwareListViewModel::setOpenClawPortText(const QString &text)
{
    m_openClawConfig.port = OpenClawConfig::portFromText(text).value_or(m_openClawConfig.port);
    Q_EMIT openClawConfigChanged();
}

void SoftwareListViewModel::setOpenClawModelPath(const QString &path)
{
    m_openClawConfig.modelPath = path;
    Q_EMIT openClawConfigChanged();
}

void SoftwareListViewModel::setShowOpenClawConfig(bool show)
{
    if (m_showOpenClawConfig == show)
        return;
    m_showOpenClawConfig = show;
    Q_EMIT showOpenClawConfigChanged();
}

void SoftwareListViewModel::setShowHermesGateway(bool show)
{
    if (m_showHermesGateway == show)
        return;
    m_showHermesGateway = show;
    Q_EMIT showHermesGatewayChanged();
}
