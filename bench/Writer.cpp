// The child of the benchmarks: prints as fast, or as steadily, as it is told.
//
//     bench_Writer stream ascii|chinese BYTES    in writes of 1 MiB
//     bench_Writer lines COUNT                   short ones, one write each
//     bench_Writer paced PER_SECOND COUNT        lines at equal distances

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <time.h>
#include <unistd.h>

namespace {

constexpr std::size_t chunkSize = 1024 * 1024;

void writeAll(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (count < 0)
            std::exit(1);
        bytes.remove_prefix(std::size_t(count));
    }
}

std::string lineNumber(long number, bool isChinese)
{
    char line[160];
    const char *const format = isChinese ? "[%06ld] 正在下载依赖包 package-%ld.tar.gz，已完成 %ld%%，请稍候……\n"
                                         : "[%06ld] added package-%ld.tar.gz to node_modules, %ld%% done\n";
    return {line, std::size_t(std::snprintf(line, sizeof line, format, number, number, number % 100))};
}

void stream(bool isChinese, long bytes)
{
    std::string text;
    for (long number = 0; text.size() < 4 * chunkSize; ++number)
        text += lineNumber(number, isChinese);
    // Whole texts, and dots at last: no character is cut off at the end, and nothing there is white space.
    for (; bytes >= long(text.size()); bytes -= long(text.size()))
        for (std::size_t start = 0; start < text.size(); start += chunkSize)
            writeAll(std::string_view(text).substr(start, chunkSize));
    writeAll(std::string(std::size_t(bytes), '.'));
}

void lines(long count)
{
    for (long number = 0; number < count; ++number)
        writeAll("added package\n");
}

void paced(long perSecond, long count)
{
    timespec next{};
    clock_gettime(CLOCK_MONOTONIC, &next);
    for (long number = 0; number < count; ++number) {
        writeAll(lineNumber(number, true));
        next.tv_nsec += 1'000'000'000 / perSecond;
        next.tv_sec += next.tv_nsec / 1'000'000'000;
        next.tv_nsec %= 1'000'000'000;
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    const std::string_view mode = argc > 1 ? argv[1] : "";
    if (mode == "stream" && argc == 4)
        stream(argv[2] == std::string_view("chinese"), std::atol(argv[3]));
    else if (mode == "lines" && argc == 3)
        lines(std::atol(argv[2]));
    else if (mode == "paced" && argc == 4)
        paced(std::atol(argv[2]), std::atol(argv[3]));
    else
        return 2;
}
