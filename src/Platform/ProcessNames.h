#pragma once

#include <QStringList>

/// Asks every process of this user that bears exactly one of the names to end (SIGTERM), and does not wait for it. A
/// process's name is that of its executable or script, or what it has set itself.
void endProcesses(const QStringList &names);
