#include "SoftwareInstallService.h"

#include "SoftwareDetectionService.h"
#include "Utilities/Text.h"

/// What tells installing, upgrading and uninstalling apart.
struct SoftwareInstallService::Operation {
    QString verb; ///< as in "正在安装"
    QString SoftwareCatalogEntry::*commandLine;
    InstallError::Kind missing;
    InstallError::Kind failed;
    SoftwareStatus::Value whileRunning;
    SoftwareStatus::Value onSuccess;
};

namespace {

void report(const OutputHandler &onOutput, const QString &text)
{
    onOutput(QUtf8StringView(text.toUtf8()));
}

/// The entry's command line; empty when there is no such entry.
QString commandLineOf(const SoftwareCatalogEntry *entry, QString SoftwareCatalogEntry::*commandLine)
{
    return entry ? entry->*commandLine : QString();
}

} // namespace

QString InstallError::description() const
{
    switch (m_kind) {
    case Kind::MissingDependency:
        return QStringLiteral("缺少依赖: %1，请先安装").arg(m_text);
    case Kind::InstallFailed:
        return QStringLiteral("安装失败，退出码: %1").arg(m_exitCode);
    case Kind::UninstallFailed:
        return QStringLiteral("卸载失败，退出码: %1").arg(m_exitCode);
    case Kind::UpgradeFailed:
        return QStringLiteral("升级失败，退出码: %1").arg(m_exitCode);
    case Kind::NoInstallCommand:
        return QStringLiteral("未配置安装命令");
    case Kind::NoUninstallCommand:
        return QStringLiteral("未配置卸载命令");
    case Kind::NoUpgradeCommand:
        return QStringLiteral("未配置升级命令");
    case Kind::NoStartCommand:
        return QStringLiteral("未配置启动命令");
    case Kind::NoStopCommand:
        return QStringLiteral("未配置停止命令");
    case Kind::ShellFailed:
        return m_text;
    }
    Q_UNREACHABLE();
}

SoftwareInstallService &SoftwareInstallService::shared()
{
    static SoftwareInstallService service(ShellService::shared(), SoftwareDetectionService::shared());
    return service;
}

SoftwareInstallService::SoftwareInstallService(ShellService &shell, SoftwareDetectionService &detection)
    : m_shell(shell)
    , m_detection(detection)
{
}

SoftwareInstallService::Outcome SoftwareInstallService::install(QString softwareId, SoftwareCatalog::Entries catalog,
                                                                OutputHandler onOutput, StatusHandler onStatusChange)
{
    static const Operation operation{QStringLiteral("安装"),
                                     &SoftwareCatalogEntry::installCommand,
                                     InstallError::Kind::NoInstallCommand,
                                     InstallError::Kind::InstallFailed,
                                     SoftwareStatus::Installing,
                                     SoftwareStatus::Installed};
    const SoftwareCatalogEntry *const entry = SoftwareCatalog::find(catalog, softwareId);
    // An entry that cannot be installed at all says so before its dependencies are asked for.
    if (commandLineOf(entry, operation.commandLine).isEmpty())
        co_return std::unexpected(InstallError(operation.missing));
    for (const QString &id : entry->dependencies) {
        const SoftwareCatalogEntry *const dependency = SoftwareCatalog::find(catalog, id);
        if (!dependency)
            continue;
        const DetectionAnswer isInstalled = co_await m_detection.isInstalled(dependency->detectCommand);
        if (!isInstalled)
            co_return std::unexpected(InstallError::shellFailed(isInstalled.error()));
        if (!*isInstalled)
            co_return std::unexpected(InstallError::missingDependency(displayText(dependency->name)));
    }
    co_return co_await perform(&operation, softwareId, catalog, onOutput, onStatusChange);
}

SoftwareInstallService::Outcome SoftwareInstallService::upgrade(QString softwareId, SoftwareCatalog::Entries catalog,
                                                                OutputHandler onOutput, StatusHandler onStatusChange)
{
    static const Operation operation{QStringLiteral("升级"),
                                     &SoftwareCatalogEntry::upgradeCommand,
                                     InstallError::Kind::NoUpgradeCommand,
                                     InstallError::Kind::UpgradeFailed,
                                     SoftwareStatus::Upgrading,
                                     SoftwareStatus::Installed};
    return perform(&operation, softwareId, catalog, onOutput, onStatusChange);
}

SoftwareInstallService::Outcome SoftwareInstallService::uninstall(QString softwareId, SoftwareCatalog::Entries catalog,
                                                                  OutputHandler onOutput, StatusHandler onStatusChange)
{
    static const Operation operation{QStringLiteral("卸载"),
                                     &SoftwareCatalogEntry::uninstallCommand,
                                     InstallError::Kind::NoUninstallCommand,
                                     InstallError::Kind::UninstallFailed,
                                     SoftwareStatus::Uninstalling,
                                     SoftwareStatus::NotInstalled};
    return perform(&operation, softwareId, catalog, onOutput, onStatusChange);
}

SoftwareInstallService::Outcome SoftwareInstallService::perform(const Operation *operation, QString softwareId,
                                                                SoftwareCatalog::Entries catalog,
                                                                OutputHandler onOutput, StatusHandler onStatusChange)
{
    const SoftwareCatalogEntry *const entry = SoftwareCatalog::find(catalog, softwareId);
    const QString commandLine = commandLineOf(entry, operation->commandLine);
    if (commandLine.isEmpty())
        co_return std::unexpected(InstallError(operation->missing));

    onStatusChange(operation->whileRunning);
    report(onOutput, QStringLiteral(">>> 正在%1 %2...\n").arg(operation->verb, displayText(entry->name)));
    const auto exitCode = co_await m_shell.runWithStreaming(commandLine, onOutput);
    if (!exitCode) {
        // A shell that could not be started has reported no end.
        if (exitCode.error().isAboutProfile()) {
            report(onOutput, QStringLiteral("\n❌ %1失败: %2\n").arg(operation->verb, exitCode.error().description));
            onStatusChange(SoftwareStatus::Error);
        }
        co_return std::unexpected(InstallError::shellFailed(exitCode.error()));
    }
    if (*exitCode != 0) {
        report(onOutput, QStringLiteral("\n❌ %1失败 (exit code: %2)\n").arg(operation->verb).arg(*exitCode));
        onStatusChange(SoftwareStatus::Error);
        co_return std::unexpected(InstallError::failed(operation->failed, *exitCode));
    }
    report(onOutput, QStringLiteral("\n✅ %1完成\n").arg(operation->verb));
    onStatusChange(operation->onSuccess);
    co_return std::expected<void, InstallError>();
}

std::expected<void, InstallError> SoftwareInstallService::start(const QString &softwareId,
                                                                const SoftwareCatalog::Entries &catalog,
                                                                OutputHandler onOutput, FailureHandler onFailure)
{
    const SoftwareCatalogEntry *const entry = SoftwareCatalog::find(catalog, softwareId);
    const QString commandLine = commandLineOf(entry, &SoftwareCatalogEntry::startCommand);
    if (commandLine.isEmpty())
        return std::unexpected(InstallError(InstallError::Kind::NoStartCommand));
    report(onOutput, QStringLiteral(">>> 正在启动 %1...\n").arg(displayText(entry->name)));
    launch(commandLine, onOutput, onFailure);
    return {};
}

QCoro::Task<> SoftwareInstallService::launch(QString commandLine, OutputHandler onOutput, FailureHandler onFailure)
{
    // The program keeps running; how it ends is nobody's concern here.
    const auto exitCode = co_await m_shell.runWithStreaming(commandLine, onOutput);
    if (exitCode)
        co_return;
    report(onOutput, QStringLiteral("\n❌ 启动失败: %1\n").arg(exitCode.error().description));
    onFailure(InstallError::shellFailed(exitCode.error()));
}

SoftwareInstallService::Outcome SoftwareInstallService::stop(QString softwareId, SoftwareCatalog::Entries catalog,
                                                             OutputHandler onOutput)
{
    const SoftwareCatalogEntry *const entry = SoftwareCatalog::find(catalog, softwareId);
    const QString commandLine = commandLineOf(entry, &SoftwareCatalogEntry::stopCommand);
    if (commandLine.isEmpty())
        co_return std::unexpected(InstallError(InstallError::Kind::NoStopCommand));
    report(onOutput, QStringLiteral(">>> 正在停止 %1...\n").arg(displayText(entry->name)));
    const auto result = co_await m_shell.run(commandLine);
    if (!result)
        co_return std::unexpected(InstallError::shellFailed(result.error()));
    if (result->exitCode == 0)
        report(onOutput, QStringLiteral("✅ 已停止\n"));
    else
        report(onOutput, QStringLiteral("⚠️ 停止命令执行完毕: %1\n").arg(result->errorOutput.toString()));
    co_return std::expected<void, InstallError>();
}
