#include "FileLock.h"

#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

using namespace std::chrono_literals;

static std::unexpected<std::error_code> systemError()
{
    return std::unexpected(std::error_code(errno, std::system_category()));
}

std::expected<FileLock, std::error_code> FileLock::take(const QString &path, std::chrono::milliseconds patience)
{
    constexpr auto pause = 20ms;
    const QByteArray name = QFile::encodeName(path);
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(name.toStdString()).parent_path(), error);
    if (error)
        return std::unexpected(error);
    FileDescriptor file(::open(name, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file || ::fchmod(file.get(), 0600) != 0)
        return systemError();
    for (auto waited = 0ms; ::flock(file.get(), LOCK_EX | LOCK_NB) != 0; waited += pause) {
        if (errno != EWOULDBLOCK || waited >= patience)
            return systemError();
        std::this_thread::sleep_for(pause);
    }
    return FileLock(std::move(file));
}
