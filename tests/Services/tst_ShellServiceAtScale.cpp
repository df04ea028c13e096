#include "Support/Scratch.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

/// One kind of difficult program and what a collected run of it must give.
struct Program {
    QString commandLine;
    int exitCode;
    QByteArray output;
    QByteArray errorOutput;
};

const QList<Program> programs{
    {u"(sleep 0.02; echo late) & echo early"_s, 0, "early\nlate", {}},
    {u"exec >&- 2>&-; exit 9"_s, 9, {}, {}},
    {u"kill -KILL $$"_s, 137, {}, {}},
    {u"head -c 200000 /dev/zero | tr '\\0' a; exit 3"_s, 3, QByteArray(200000, 'a'), {}},
    {u"true"_s, 0, {}, {}},
};

const Program flood{u"(head -c 8388608 /dev/zero | tr '\\0' o) & head -c 8388608 /dev/zero | tr '\\0' e >&2; wait"_s, 0,
                    QByteArray(8388608, 'o'), QByteArray(8388608, 'e')};

bool isAsExpected(const ShellResult &result, const Program &program)
{
    return result.exitCode == program.exitCode && result.output.utf8() == program.output
        && result.errorOutput.utf8() == program.errorOutput;
}

/// Resident memory of this process in bytes.
qint64 residentMemory()
{
    QFile file(u"/proc/self/statm"_s);
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ')[1].toLongLong() * ::sysconf(_SC_PAGESIZE) : 0;
}

} // namespace

class tst_ShellServiceAtScale : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void twoThousandMixedRuns();
    void tenGigabytesLeaveMemoryFlat();
};

void tst_ShellServiceAtScale::twoThousandMixedRuns()
{
    Scratch scratch;
    QVERIFY(QCoro::waitFor(scratch.shell.run(u"true"_s)));
    const int descriptors = openDescriptors();
    int wrong = 0;
    for (int run = 0; run < 2000; ++run) {
        const Program &program = run % 50 == 0 ? flood : programs[run % programs.size()];
        const auto result = QCoro::waitFor(scratch.shell.run(program.commandLine));
        wrong += !result || !isAsExpected(*result, program);
    }
    QCOMPARE(wrong, 0);
    QTRY_COMPARE(openDescriptors(), descriptors);
    QCOMPARE(zombies(), 0);
}

void tst_ShellServiceAtScale::tenGigabytesLeaveMemoryFlat()
{
    Scratch scratch;
    constexpr qint64 gigabyte = 1024 * 1024 * 1024;
    qint64 received = 0;
    qint64 memoryAfterFirst = 0;
    qint64 mostMemory = 0;
    const auto onOutput = [&](QUtf8StringView piece) {
        received += piece.size();
        if (received < gigabyte)
            memoryAfterFirst = residentMemory();
        else if (received % (64 * 1024 * 1024) < piece.size())
            mostMemory = std::max(mostMemory, residentMemory());
    };
    const auto exitCode = QCoro::waitFor(scratch.shell.runWithStreaming(u"head -c 10737418240 /dev/zero"_s, onOutput));
    QCOMPARE(exitCode.value(), 0);
    QCOMPARE(received, 10 * gigabyte);
    QVERIFY2(mostMemory - memoryAfterFirst < 4 * 1024 * 1024,
             qPrintable(QString::number(mostMemory - memoryAfterFirst)));
}

QTEST_GUILESS_MAIN(tst_ShellServiceAtScale)
#include "tst_ShellServiceAtScale.moc"
