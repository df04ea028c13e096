#pragma once

#include "Models/SoftwareCatalog.h"

#include <QCoroTask>
#include <QHash>

class ShellService;

/// Tells which software is installed on this machine, by its detection command line.
class SoftwareDetectionService
{
public:
    static SoftwareDetectionService &shared();

    explicit SoftwareDetectionService(ShellService &shell);

    /// True when the command line exits with 0 and prints something. An empty one runs nothing.
    QCoro::Task<bool> isInstalled(QString detectCommand);

    /// Asks entry after entry, in order; the answers by software id.
    QCoro::Task<QHash<QString, bool>> detectAll(SoftwareCatalog::Entries catalog);

    ShellService &shell() const { return m_shell; }

private:
    ShellService &m_shell;
};
