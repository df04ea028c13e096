#pragma once

#include "DetectionAnswers.h"

#include <QCoroTask>
#include <QStringList>

/// Tells which software is running on this machine, by its process or its local web endpoint.
class SoftwareMonitorService
{
public:
    static SoftwareMonitorService &shared();

    explicit SoftwareMonitorService(ShellService &shell);

    /// Ollama's local service answers with a body.
    QCoro::Task<DetectionAnswer> isOllamaRunning();

    /// Asks Ollama first, then one id after the other. One whose process name is not known is not
    /// running.
    QCoro::Task<DetectionAnswers> checkAllStatus(QStringList softwareIds);

private:
    QCoro::Task<DetectionAnswer> isProcessRunning(QString name);

    ShellService &m_shell;
};
