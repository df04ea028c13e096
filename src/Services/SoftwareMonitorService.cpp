#include "SoftwareMonitorService.h"

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

QCoro::Task<DetectionAnswer> SoftwareMonitorService::isOllamaRunning()
{
    const auto run = co_await m_shell.ask(QStringLiteral("curl -s http://localhost:11434/api/version"));
    co_return answerOf(run, true);
}

QCoro::Task<DetectionAnswer> SoftwareMonitorService::isProcessRunning(QString name)
{
    if (name.isEmpty())
        co_return false;
    const auto run = co_await m_shell.ask(QStringLiteral("pgrep -x ") + name);
    co_return answerOf(run, false);
}

QCoro::Task<DetectionAnswers> SoftwareMonitorService::checkAllStatus(QStringList softwareIds)
{
    DetectionAnswers answers;
    if (softwareIds.removeAll(ollama) > 0) {
        const auto answer = co_await isOllamaRunning();
        if (!answers.take(ollama, answer))
            co_return answers;
    }
    for (const QString &id : softwareIds) {
        const auto answer = co_await isProcessRunning(processName(id));
        if (!answers.take(id, answer))
            break;
    }
    co_return answers;
}
