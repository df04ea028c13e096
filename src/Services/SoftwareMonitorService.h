#pragma once

#include <QCoroTask>
#include <QHash>
#include <QStringList>

class ShellService;

/// Tells which software is running on this machine, by its process or its local web endpoint.
class SoftwareMonitorService
{
public:
    static SoftwareMonitorService &shared();

    explicit SoftwareMonitorService(ShellService &shell);

    /// Ollama's local service answers with a body.
    QCoro::Task<bool> isOllamaRunning();

    /// Asks Ollama first, then one id after the other; every id is a key of the answer. One whose
    /// process name is not known is not running.
    QCoro::Task<QHash<QString, bool>> checkAllStatus(QStringList softwareIds);

private:
    ShellService &m_shell;
};
