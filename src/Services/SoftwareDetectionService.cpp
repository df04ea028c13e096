#include "SoftwareDetectionService.h"

#include <QSet>

SoftwareDetectionService &SoftwareDetectionService::shared()
{
    static SoftwareDetectionService service(ShellService::shared());
    return service;
}

SoftwareDetectionService::SoftwareDetectionService(ShellService &shell)
    : m_shell(shell)
{
}

QCoro::Task<DetectionAnswer> SoftwareDetectionService::isInstalled(QString detectCommand)
{
    if (detectCommand.isEmpty())
        co_return false;
    const auto run = co_await m_shell.ask(detectCommand);
    co_return answerOf(run, true);
}

QCoro::Task<DetectionAnswers> SoftwareDetectionService::detectAll(SoftwareCatalog::Entries catalog)
{
    DetectionAnswers answers;
    QSet<QString> asked;
    for (const SoftwareCatalogEntry &entry : catalog) {
        if (asked.contains(entry.id))
            continue;
        asked.insert(entry.id);
        const auto answer = co_await isInstalled(entry.detectCommand);
        if (!answers.take(entry.id, answer))
            break;
    }
    co_return answers;
}
