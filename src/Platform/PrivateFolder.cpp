#include "PrivateFolder.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

std::expected<PrivateFolder, FileError> PrivateFolder::make(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(QFileInfo(path).path()).toStdString(), error);
    if (error)
        return std::unexpected(FileError::notWritten(path, error.value()));
    struct stat state{};
    // The mode again, as the process's mask takes from what mkdir() is given.
    if (::mkdir(name, 0700) != 0 || ::chmod(name, 0700) != 0 || ::lstat(name, &state) != 0)
        return std::unexpected(FileError::notWritten(path, errno));
    return PrivateFolder{path, {state.st_dev, state.st_ino}};
}
