// The server of the benchmarks: sends one file over HTTP as fast as the system can, whatever is asked for.
// Ends with the process that started it. Its first line tells its origin.
//
//     bench_FileServer FILE

#include <arpa/inet.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/prctl.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int check(int result, const char *what)
{
    if (result >= 0)
        return result;
    std::perror(what);
    std::exit(1);
}

int listenOnLoopback()
{
    const int listener = check(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    check(::bind(listener, reinterpret_cast<sockaddr *>(&address), size), "bind");
    check(::listen(listener, 16), "listen");
    check(::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size), "getsockname");
    std::printf("http://127.0.0.1:%d\n", ntohs(address.sin_port));
    std::fflush(stdout);
    return listener;
}

/// A client that hangs up has asked for nothing.
bool readRequest(int client)
{
    std::string request;
    char buffer[4096];
    while (request.find("\r\n\r\n") == std::string::npos) {
        const ssize_t count = ::read(client, buffer, sizeof buffer);
        if (count <= 0)
            return false;
        request.append(buffer, std::size_t(count));
    }
    return true;
}

/// Stops where the client hangs up.
void sendFile(int client, int file, off_t size)
{
    const std::string head =
        "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(size) + "\r\nConnection: close\r\n\r\n";
    if (::send(client, head.data(), head.size(), MSG_MORE) != ssize_t(head.size()))
        return;
    off_t position = 0;
    while (position < size && ::sendfile(client, file, &position, std::size_t(size - position)) > 0) { }
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 2)
        return 2;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGPIPE, SIG_IGN);
    const int file = check(::open(argv[1], O_RDONLY | O_CLOEXEC), argv[1]);
    struct stat status{};
    check(::fstat(file, &status), argv[1]);
    const int listener = listenOnLoopback();
    while (true) {
        const int client = check(::accept(listener, nullptr, nullptr), "accept");
        if (readRequest(client))
            sendFile(client, file, status.st_size);
        ::close(client);
    }
}
