#include "SoftwareDetectionService.h"

#include "ShellService.h"

SoftwareDetectionService &SoftwareDetectionService::shared()
{
    static SoftwareDetectionService service(ShellService::shared());
    return service;
}

SoftwareDetectionService::SoftwareDetectionService(ShellService &shell)
    : m_shell(shell)
{
}

QCoro::Task<bool> SoftwareDetectionService::isInstalled(QString detectCommand)
{
    if (detectCommand.isEmpty())
        co_return false;
    const auto result = co_await m_shell.run(detectCommand);
    co_return result && result->exitCode == 0 && !result->output.isEmpty();
}

QCoro::Task<QHash<QString, bool>> SoftwareDetectionService::detectAll(SoftwareCatalog::Entries catalog)
{
    QHash<QString, bool> isInstalledById;
    for (const SoftwareCatalogEntry &entry : catalog)
        isInstalledById[entry.id] = co_await isInstalled(entry.detectCommand);
    co_return isInstalledById;
}
