#pragma once

#include <QByteArray>
#include <QString>

/// The shell script that puts a new bundle in the place of the running one: it waits for the process to
/// end, sets the old bundle aside as ".backup", moves the new one to its path and opens it; where that
/// fails it puts the old one back. Last it removes the temporary folder, and itself with it. All paths
/// are absolute; they are put between double quotes as they are, so none may hold a character that means
/// something there (see isFitForUpdateScript()).
QByteArray updateScript(qint64 processId, const QString &newBundle, const QString &currentBundle,
                        const QString &temporaryFolder);

/// What bash is to read before that script (by BASH_ENV): a `mv` that moves to another folder whole or not at all, also
/// between file systems, and whose result is on the disk before the script goes on. Until then the copy stands
/// beside its place, as ".incomplete". It moves nothing into a folder that stands at the place.
QByteArray updateScriptMoves();

/// Whether a shell takes the path between double quotes for what it is.
bool isFitForUpdateScript(const QString &path);
