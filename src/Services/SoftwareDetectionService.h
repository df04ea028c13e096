#pragma once

#include "DetectionAnswers.h"
#include "Models/SoftwareCatalog.h"

#include <QCoroTask>

/// Tells which software is installed on this machine, by its detection command line.
class SoftwareDetectionService
{
public:
    static SoftwareDetectionService &shared();

    explicit SoftwareDetectionService(ShellService &shell);

    /// True when the command line exits with 0 and prints something. An empty one runs nothing; one
    /// that cannot be started finds nothing. An error when there was no answer.
    QCoro::Task<DetectionAnswer> isInstalled(QString detectCommand);

    /// Asks entry after entry, in order. Of entries with the same id the first counts.
    QCoro::Task<DetectionAnswers> detectAll(SoftwareCatalog::Entries catalog);

    ShellService &shell() const { return m_shell; }

private:
    ShellService &m_shell;
};
