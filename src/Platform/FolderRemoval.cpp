#include "FolderRemoval.h"

#include <QFile>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t privateMode = 0700;

/// An open folder, and the place up to which its entries have been read.
using Folder = std::unique_ptr<DIR, int (*)(DIR *)>;

/// By its name in another folder; none for a link and for what is no folder, as errno tells.
Folder openFolder(int parent, const char *name)
{
    const int descriptor = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    return {descriptor < 0 ? nullptr : ::fdopendir(descriptor), ::closedir};
}

/// All zero, which no folder's is, when it cannot be told.
struct stat stateOf(const Folder &folder)
{
    struct stat state{};
    if (const int descriptor = ::dirfd(folder.get()); descriptor >= 0)
        ::fstat(descriptor, &state);
    return state;
}

bool removeContent(const Folder &folder);

bool removeSubfolder(int parent, const char *name, dev_t device)
{
    ::fchmodat(parent, name, privateMode, AT_SYMLINK_NOFOLLOW); // its own may forbid reading or emptying it
    const Folder folder = openFolder(parent, name);
    return folder && stateOf(folder).st_dev == device && removeContent(folder)
        && ::unlinkat(parent, name, AT_REMOVEDIR) == 0;
}

bool removeEntry(int parent, const char *name, dev_t device)
{
    struct stat state{};
    if (::fstatat(parent, name, &state, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT;
    if (S_ISDIR(state.st_mode))
        return removeSubfolder(parent, name, device);
    return ::unlinkat(parent, name, 0) == 0 || errno == ENOENT;
}

bool isEntry(const char *name)
{
    return qstrcmp(name, ".") != 0 && qstrcmp(name, "..") != 0;
}

bool removeContent(const Folder &folder)
{
    const dev_t device = stateOf(folder).st_dev;
    bool isEmpty = true;
    while (const dirent *const entry = ::readdir(folder.get()))
        if (isEntry(entry->d_name))
            isEmpty = removeEntry(::dirfd(folder.get()), entry->d_name, device) && isEmpty;
    return isEmpty;
}

} // namespace

bool removeFolder(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat state{};
    if (::lstat(name, &state) != 0)
        return errno == ENOENT;
    return S_ISDIR(state.st_mode) && removeSubfolder(AT_FDCWD, name, state.st_dev);
}

bool removePrivateFolder(const QString &path, const FolderIdentity &identity)
{
    const QByteArray name = QFile::encodeName(path);
    const Folder folder = openFolder(AT_FDCWD, name);
    if (!folder)
        return errno == ENOENT;
    const struct stat state = stateOf(folder);
    const bool isMeant = identity == FolderIdentity{state.st_dev, state.st_ino} && state.st_uid == ::geteuid()
        && (state.st_mode & 07777) == privateMode;
    return isMeant && removeContent(folder) && ::unlinkat(AT_FDCWD, name, AT_REMOVEDIR) == 0;
}
