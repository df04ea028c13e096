#include "Archive.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

struct Run {
    int status = 0; ///< as waitpid gives it
    std::string output;
};

std::string readToEnd(int file)
{
    std::string text;
    std::array<char, 64 * 1024> piece;
    while (true) {
        const ssize_t count = ::read(file, piece.data(), piece.size());
        if (count > 0)
            text.append(piece.data(), std::size_t(count));
        else if (count == 0 || errno != EINTR)
            return text;
    }
}

int waitFor(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return status;
}

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
    pid_t child = 0;
    const int error = posix_spawnp(&child, pointers.front(), &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        return Failure(std::string("无法启动 7z：") + std::strerror(error));
    return child;
}

/// Its complaints go to our own standard error.
Result<Run> run7z(std::vector<std::string> arguments)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return Failure(std::string("无法启动 7z：") + std::strerror(errno));
    arguments.insert(arguments.begin(), "7z");
    const auto child = spawn(arguments, ends[1]);
    ::close(ends[1]);
    std::string output = child ? readToEnd(ends[0]) : std::string();
    ::close(ends[0]);
    if (!child)
        return Failure(child.error());
    return Run{waitFor(*child), std::move(output)};
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
    if (name == "Size")
        std::from_chars(value.begin(), value.end(), entry.size); // empty for a folder
    else if (name == "Symbolic Link")
        entry.linkTarget = value;
}

Archive::Listing readListing(std::string_view text)
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

Result<Archive::Listing> Archive::list() const
{
    const auto run = run7z({"l", "-slt", "--", address()});
    if (!run)
        return Failure(run.error());
    if (run->status != 0)
        return Failure("不是完好的磁盘映像");
    return readListing(run->output);
}

Result<void> Archive::unpack(const std::filesystem::path &folder) const
{
    const auto run = run7z({"x", "-y", "-bd", "-o" + folder.string(), "--", address()});
    if (!run)
        return Failure(run.error());
    if (run->status != 0)
        return Failure("磁盘映像无法完整解开");
    return {};
}
