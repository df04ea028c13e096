// The shell runner against bare system calls on the same zsh line.

#include "BareChild.h"
#include "Measure.h"
#include "Support/Scratch.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <sys/mman.h>

namespace {

constexpr qint64 gibibyte = 1024 * 1024 * 1024;
constexpr int largePipe = 1024 * 1024;
constexpr int defaultPipe = 64 * 1024;
constexpr qsizetype bufferSize = 256 * 1024;

/// A command line that runs the benchmarks' writer in place of the shell.
QString writer(const QString &arguments)
{
    return QStringLiteral("exec '%1/bench_Writer' %2").arg(QCoreApplication::applicationDirPath(), arguments);
}

/// What the shell service starts for the command line.
ChildProcess::Command bareCommand(const ShellService &shell, const QString &commandLine)
{
    ChildProcess::Command command{"/bin/zsh", {"-l", "-c", commandLine.toUtf8()}, {}};
    const auto environment = shell.buildEnvironment();
    for (auto variable = environment.begin(); variable != environment.end(); ++variable)
        command.environment.append(variable.key() + '=' + variable.value());
    return command;
}

void expectBytes(qint64 bytes, qint64 expected)
{
    if (bytes != expected)
        qFatal("%lld bytes came instead of %lld", bytes, expected);
}

qint64 stream(ShellService &shell, const QString &commandLine)
{
    qint64 bytes = 0;
    const auto exitCode =
        QCoro::waitFor(shell.runWithStreaming(commandLine, [&bytes](QUtf8StringView text) { bytes += text.size(); }));
    if (!exitCode || *exitCode != 0)
        qFatal("The streamed run failed");
    return bytes;
}

void collectedRunOfTrue(ShellService &shell)
{
    const QByteArray resident(200 * 1024 * 1024, 'x');
    const auto command = bareCommand(shell, QStringLiteral("true"));
    const auto ours = [&] {
        return seconds([&] {
            const auto result = QCoro::waitFor(shell.run(QStringLiteral("true")));
            if (!result || result->exitCode != 0)
                qFatal("true failed");
        });
    };
    const auto theirs = [&] { return seconds([&] { BareChild::run(command); }); };
    const Comparison time = compare(301, ours, theirs);
    report({.name = QStringLiteral("collected run of `true`, 200 MiB parent"),
            .measured = milliseconds(time.ours),
            .against = milliseconds(time.theirs) + QStringLiteral(" bare posix_spawn and waitpid"),
            .value = time.ratio,
            .target = 1.10});
}

void streamedGibibyte(ShellService &shell, const QString &kind, double target)
{
    const QString line = writer(QStringLiteral("stream %1 %2").arg(kind).arg(gibibyte));
    const auto command = bareCommand(shell, line);
    const auto ours = [&] { return seconds([&] { expectBytes(stream(shell, line), gibibyte); }); };
    const auto theirs = [&] {
        return seconds([&] { expectBytes(BareChild::readToEnd(command, largePipe, bufferSize), gibibyte); });
    };
    const Comparison time = compare(9, ours, theirs);
    report({.name = QStringLiteral("1 GiB streamed to a callback, %1").arg(kind),
            .measured = milliseconds(time.ours),
            .against = milliseconds(time.theirs) + QStringLiteral(" bare read loop, 1 MiB pipe"),
            .value = time.ratio,
            .target = target});
}

/// Takes memory from the host before the time is taken: a virtual machine gives free memory back to
/// its host within seconds, and getting it again takes longer than all that is compared here.
void warmMemory(size_t bytes)
{
    void *memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED || ::madvise(memory, bytes, MADV_HUGEPAGE) != 0
        || ::madvise(memory, bytes, MADV_POPULATE_WRITE) != 0)
        qFatal("There is not enough memory");
    ::munmap(memory, bytes);
}

void collectedGibibyte(ShellService &shell)
{
    const QString line = writer(QStringLiteral("stream ascii %1").arg(gibibyte));
    const auto command = bareCommand(shell, line);
    const auto ours = [&] {
        warmMemory(gibibyte + gibibyte / 2);
        return seconds([&] {
            const auto result = QCoro::waitFor(shell.run(line));
            if (!result || result->exitCode != 0)
                qFatal("The collected run failed");
            expectBytes(result->output.utf8().size(), gibibyte);
        });
    };
    const auto theirs = [&] {
        return seconds([&] { expectBytes(BareChild::readToEnd(command, largePipe, bufferSize), gibibyte); });
    };
    const Comparison time = compare(15, ours, theirs);
    report({.name = QStringLiteral("collected 1 GiB"),
            .measured = milliseconds(time.ours),
            .against = milliseconds(time.theirs) + QStringLiteral(" read and discarded"),
            .value = time.ratio,
            .target = 1.3});
}

void shortLines(ShellService &shell)
{
    constexpr qint64 count = 2'000'000;
    constexpr qint64 bytes = count * qint64(std::string_view("added package\n").size());
    const QString line = writer(QStringLiteral("lines %1").arg(count));
    const auto command = bareCommand(shell, line);
    QList<double> ourProcessor;
    QList<double> theirProcessor;
    const auto measured = [](QList<double> &processor, const std::function<void()> &run) {
        const double before = processorSeconds();
        const double time = seconds(run);
        processor.append(processorSeconds() - before);
        return time;
    };
    const auto ours = [&] { return measured(ourProcessor, [&] { expectBytes(stream(shell, line), bytes); }); };
    const auto theirs = [&] {
        return measured(theirProcessor,
                        [&] { expectBytes(BareChild::readToEnd(command, defaultPipe, bufferSize), bytes); });
    };
    const Comparison time = compare(9, ours, theirs);
    report({.name = QStringLiteral("2,000,000 short lines: time"),
            .measured = milliseconds(time.ours),
            .against = milliseconds(time.theirs) + QStringLiteral(" bare read loop, 64 KiB pipe"),
            .value = time.ratio,
            .target = 0.95});
    const Comparison processor = compare(ourProcessor, theirProcessor);
    report({.name = QStringLiteral("2,000,000 short lines: our processor time"),
            .measured = milliseconds(processor.ours),
            .against = milliseconds(processor.theirs) + QStringLiteral(" bare read loop, 64 KiB pipe"),
            .value = processor.ratio,
            .target = 0.25});
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    Scratch scratch;
    collectedRunOfTrue(scratch.shell);
    streamedGibibyte(scratch.shell, QStringLiteral("ascii"), 1.10);
    streamedGibibyte(scratch.shell, QStringLiteral("chinese"), 1.35);
    shortLines(scratch.shell);
    collectedGibibyte(scratch.shell);
}
