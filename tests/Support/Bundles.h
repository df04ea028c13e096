#pragma once

#include <QString>

/// Writes an application bundle of a few files at `path`; its program is a shell script, which tells versionOf()
/// where none is given.
void makeBundle(const QString &path, int build, const QByteArray &program = {});

/// What the program of a build says when it is asked for its version.
QString versionOf(int build);

/// The build that its Info.plist tells; empty when there is none.
QString buildOf(const QString &bundle);

/// Makes a disk image, as an update's, of what a folder holds. Empty when it did; else what is wrong.
QString makeImage(const QString &folder, const QString &image);
