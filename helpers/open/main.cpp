// open BUNDLE: starts an application bundle in a session of its own and returns at once.

#include "Platform/Bundle.h"

#include <QDir>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <linux/close_range.h>
#include <string>
#include <unistd.h>

namespace {

constexpr int usageError = 64;

/// Takes the folder this program was found in out of PATH: the application gets the system's programs.
void restorePath()
{
    const char *const list = std::getenv("PATH");
    const std::string own = std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + ':';
    if (list && std::strncmp(list, own.c_str(), own.size()) == 0)
        ::setenv("PATH", std::string(list + own.size()).c_str(), 1);
}

/// In a process of its own, which has nothing of whoever asked for it but the environment. `report` is told the
/// error's number when the program cannot be run.
[[noreturn]] void run(const char *program, int report)
{
    ::setsid();
    const char *const arguments[] = {program, nullptr};
    ::execv(program, const_cast<char *const *>(arguments));
    const int error = errno;
    std::_Exit(::write(report, &error, sizeof error) > 0 ? EXIT_FAILURE : usageError);
}

/// What stopped the program from being run; 0 when nothing did.
int start(const char *program)
{
    int report[2];
    if (::pipe2(report, 0) != 0)
        return errno;
    // What was handed down to us, such as the lock that the swap script holds, goes no further.
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    const pid_t child = ::fork();
    if (child < 0)
        return errno;
    if (child == 0)
        run(program, report[1]);
    ::close(report[1]);
    int error = 0;
    return ::read(report[0], &error, sizeof error) > 0 ? error : 0; // closed unwritten by a program that runs
}

} // namespace

int main(int count, char **arguments)
{
    if (count != 2) {
        std::fputs("用法：open BUNDLE\n", stderr);
        return usageError;
    }
    const auto program = Bundle::at(QDir(QFile::decodeName(arguments[1])).absolutePath()).executable();
    if (!program) {
        std::fprintf(stderr, "open: 没有可以运行的应用程序：%s\n", arguments[1]);
        return EXIT_FAILURE;
    }
    restorePath();
    if (const int error = start(QFile::encodeName(*program)); error != 0) {
        std::fprintf(stderr, "open: %s：%s\n", qPrintable(*program), std::strerror(error));
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
