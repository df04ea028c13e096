#include "ProcessNames.h"

#include "FileDescriptor.h"
#include "PidFD.h"

#include <QFile>
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The kernel keeps that much of a name.
constexpr qsizetype longestName = 15;

QByteArray contentOf(const std::filesystem::path &path)
{
    std::ifstream file(path);
    std::stringstream content;
    content << file.rdbuf();
    return QByteArray::fromStdString(content.str());
}

bool isOwn(const std::filesystem::path &process)
{
    struct stat status{};
    return ::stat(process.c_str(), &status) == 0 && status.st_uid == ::geteuid();
}

/// A name that the kernel has cut is told by the first argument, which programs that rename themselves set as well.
bool isNamed(const std::filesystem::path &process, const QByteArray &name)
{
    if (contentOf(process / "comm") != name.first(std::min(longestName, name.size())) + '\n')
        return false;
    if (name.size() <= longestName)
        return true;
    const QByteArray arguments = contentOf(process / "cmdline");
    const QByteArray program =
        arguments.first(arguments.indexOf('\0') < 0 ? arguments.size() : arguments.indexOf('\0'));
    return program.sliced(program.lastIndexOf('/') + 1) == name;
}

bool isMeant(const std::filesystem::path &process, const QStringList &names)
{
    return isOwn(process) && std::ranges::any_of(names, [&process](const QString &name) {
               return isNamed(process, QFile::encodeName(name));
           });
}

} // namespace

void endProcesses(const QStringList &names)
{
    std::error_code error;
    const std::filesystem::directory_iterator end;
    for (std::filesystem::directory_iterator entry("/proc", error); !error && entry != end; entry.increment(error)) {
        const pid_t pid = std::atoi(entry->path().filename().c_str());
        if (pid <= 0 || !isMeant(entry->path(), names))
            continue;
        const FileDescriptor handle(pidfd_open(pid, 0));
        // The number may have changed hands between the two looks; the handle cannot.
        if (handle && isMeant(entry->path(), names))
            pidfd_send_signal(handle.get(), SIGTERM, nullptr, 0);
    }
}
