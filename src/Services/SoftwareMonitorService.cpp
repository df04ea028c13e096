#include "SoftwareMonitorService.h"

#include "ShellService.h"

namespace {

const QString ollama = QStringLiteral("ollama");

/// The exact name of the process that runs the software; empty when not known. Ollama is asked
/// through its web endpoint instead.
QString processName(const QString &softwareId)
{
    static const QHash<QString, QString> names{
        {QStringLiteral("stable-diffusion"), QStringLiteral("DiffusionBee")},
        {QStringLiteral("crewai"), QStringLiteral("crewai")},
        {QStringLiteral("openclaw"), QStringLiteral("openclaw")},
        {QStringLiteral("hermes"), QStringLiteral("hermes")},
    };
    return names.value(softwareId);
}

} // namespace

SoftwareMonitorService &SoftwareMonitorService::shared()
{
    static SoftwareMonitorService service(ShellService::shared());
    return service;
}

SoftwareMonitorService::SoftwareMonitorService(ShellService &shell)
    : m_shell(shell)
{
}

QCoro::Task<bool> SoftwareMonitorService::isOllamaRunning()
{
    const auto result = co_await m_shell.run(QStringLiteral("curl -s http://localhost:11434/api/version"));
    co_return result && result->exitCode == 0 && !result->output.isEmpty();
}

QCoro::Task<QHash<QString, bool>> SoftwareMonitorService::checkAllStatus(QStringList softwareIds)
{
    QHash<QString, bool> isRunningById;
    if (softwareIds.contains(ollama))
        isRunningById[ollama] = co_await isOllamaRunning();
    for (const QString &id : softwareIds) {
        if (id == ollama)
            continue;
        const QString name = processName(id);
        bool isRunning = false;
        if (!name.isEmpty()) {
            const auto result = co_await m_shell.run(QStringLiteral("pgrep -x ") + name);
            isRunning = result && result->exitCode == 0;
        }
        isRunningById[id] = isRunning;
    }
    co_return isRunningById;
}
