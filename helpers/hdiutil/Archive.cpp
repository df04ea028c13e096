#include "Archive.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <optional>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

struct Run {
    int status = 0; ///< as waitpid gives it
    std::string output;
};

/// Everything that is written to the pipe; none when the caller goes before its end.
std::optional<std::string> readToEnd(int file, const Caller &caller)
{
    std::string text;
    std::array<char, 64 * 1024> piece;
    while (caller.waitsFor(file)) {
        const ssize_t count = ::read(file, piece.data(), piece.size());
        if (count > 0)
            text.append(piece.data(), std::size_t(count));
        else if (count == 0 || errno != EINTR)
            return text;
    }
    return {};
}

int waitFor(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return status;
}

/// With the signals as they are for a program that a shell starts.
Result<pid_t> spawn(std::vector<std::string> &arguments, int output)
{
    std::vector<char *> pointers;
    for (std::string &argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t child = 0;
    const int error = posix_spawnp(&child, pointers.front(), &actions, &attributes, pointers.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        return Failure(std::string("无法启动 7z：") + std::strerror(error));
    return child;
}

/// Its complaints go to our own standard error. It does not outlive the caller's interest.
Result<Run> run7z(std::vector<std::string> arguments, const Caller &caller)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return Failure(std::string("无法启动 7z：") + std::strerror(errno));
    arguments.insert(arguments.begin(), "7z");
    const auto child = spawn(arguments, ends[1]);
    ::close(ends[1]);
    const auto output = child ? readToEnd(ends[0], caller) : std::nullopt;
    ::close(ends[0]);
    if (!child)
        return Failure(child.error());
    if (!output)
        ::kill(*child, SIGKILL);
    const int status = waitFor(*child);
    if (!output)
        return Failure("已放弃：没有人等待结果");
    return Run{status, *output};
}

/// A number that is too large for its type is the largest one.
std::uint64_t sizeOf(std::string_view digits)
{
    std::uint64_t size = 0;
    const auto read = std::from_chars(digits.begin(), digits.end(), size);
    return read.ec == std::errc::result_out_of_range ? std::numeric_limits<std::uint64_t>::max() : size;
}

void readField(std::string_view name, std::string_view value, Archive::Listing &listing)
{
    if (name == "Path") {
        listing.entries.push_back({.path = std::string(value)});
        return;
    }
    if (listing.entries.empty())
        return;
    Archive::Entry &entry = listing.entries.back();
    if (name == "Size") // empty for a folder
        entry.size = sizeOf(value);
    else if (name == "Symbolic Link")
        entry.linkTarget = value;
}

} // namespace

Result<Archive> Archive::open(const std::filesystem::path &file)
{
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_NONBLOCK);
    if (descriptor < 0)
        return Failure("无法打开 " + file.string() + "：" + std::strerror(errno));
    return Archive(descriptor);
}

Archive::Archive(int file)
    : m_file(file)
{
}

Archive::Archive(Archive &&other) noexcept
    : m_file(std::exchange(other.m_file, -1))
{
}

Archive::~Archive()
{
    if (m_file >= 0)
        ::close(m_file);
}

/// 7z inherits the open file. A name of the user's would be a pattern to it, or an option, and its ending a hint.
std::string Archive::address() const
{
    return "/proc/self/fd/" + std::to_string(m_file);
}

Archive::Listing Archive::readListing(std::string_view text)
{
    constexpr std::string_view separator = " = ";
    Archive::Listing listing;
    bool isInEntries = false;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const auto place = line.find(separator);
        if (line == "----------")
            isInEntries = true;
        if (place == std::string_view::npos)
            continue;
        const std::string_view name = line.substr(0, place);
        const std::string_view value = line.substr(place + separator.size());
        if (isInEntries)
            readField(name, value, listing);
        else if (name == "Type")
            listing.formats.emplace_back(value);
    }
    return listing;
}

Result<Archive::Listing> Archive::list(const Caller &caller) const
{
    const auto run = run7z({"l", "-slt", "--", address()}, caller);
    if (!run)
        return Failure(run.error());
    if (run->status != 0)
        return Failure("不是完好的磁盘映像");
    return readListing(run->output);
}

Result<void> Archive::unpack(const std::filesystem::path &folder, const Caller &caller) const
{
    const auto run = run7z({"x", "-y", "-bd", "-o" + folder.string(), "--", address()}, caller);
    if (!run)
        return Failure(run.error());
    if (run->status != 0)
        return Failure("磁盘映像无法完整解开");
    return {};
}
