#pragma once

#include <QString>

/// Which folder a path stood for at one time: another one at the same path has another identity.
struct FolderIdentity {
    quint64 device = 0;
    quint64 inode = 0;

    bool operator==(const FolderIdentity &) const = default;
};

/// Removes a folder with all it holds, also where its owner may not write. Goes from descriptor to descriptor: a
/// symbolic link is removed, never followed, and other file systems mounted below are not entered. True when
/// nothing is left; a path that stands for no folder is left as it is, which is true too when nothing stands there.
bool removeFolder(const QString &path);

/// The same, but only for a folder with this identity that belongs to the user and that nobody else may enter;
/// false for any other, which stays as it is.
bool removePrivateFolder(const QString &path, const FolderIdentity &identity);
