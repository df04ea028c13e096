// The real program beside a running instance that does not answer, and without a runtime folder.

#include "Support/SessionBuses.h"
#include "Support/Table.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <csignal>

using namespace Qt::StringLiterals;

namespace {

/// Half a minute is what a D-Bus call waits by itself, so this is less than one, on a busy machine too.
constexpr int patience = 20'000;

/// Folders of a user who has used nothing yet, and a session bus.
struct Session {
    Session()
        : environment(QProcessEnvironment::systemEnvironment())
    {
        for (const QString &variable : {u"XDG_CONFIG_HOME"_s, u"XDG_DATA_HOME"_s, u"XDG_RUNTIME_DIR"_s})
            environment.insert(variable, folder.path());
        environment.insert(u"VAELIX_SERVER_ORIGIN"_s, u"http://127.0.0.1:9"_s); // nothing listens there
        environment.insert(u"QT_LOGGING_RULES"_s, u"qt.scenegraph.time.renderloop.debug=true"_s);
        environment.insert(u"QT_FORCE_STDERR_LOGGING"_s, u"1"_s);
        environment.insert(busVariable, bus.address());
    }

    QTemporaryDir folder;
    PrivateBus bus;
    QProcessEnvironment environment;
};

class Program
{
public:
    Program(const Session &session, const QStringList &arguments, const QString &currentFolder = {})
    {
        m_process.setProcessEnvironment(session.environment);
        if (!currentFolder.isEmpty())
            m_process.setWorkingDirectory(currentFolder);
        m_process.start(QStringLiteral(VAELIX_EXECUTABLE), arguments);
        m_time.start();
        m_process.waitForStarted();
    }
    ~Program()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    /// How long it took to write the text, in milliseconds; -1 when it did not.
    qint64 millisecondsUntil(const QByteArray &text)
    {
        const bool isWritten = QTest::qWaitFor(
            [&] { return (m_errorOutput += m_process.readAllStandardError()).contains(text); }, patience);
        return isWritten ? m_time.elapsed() : -1;
    }
    /// -1 when it did not end by itself.
    int exitCode()
    {
        const bool hasEnded = QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; }, patience);
        m_errorOutput += m_process.readAllStandardError();
        return hasEnded && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    QByteArray errorOutput() const { return m_errorOutput; }
    bool isRunning() const { return m_process.state() == QProcess::Running; }
    void stop() const { ::kill(pid_t(m_process.processId()), SIGSTOP); }

private:
    QProcess m_process;
    QElapsedTimer m_time;
    QByteArray m_errorOutput;
};

const QByteArray firstFrame = "Frame rendered";

} // namespace

class tst_FirstMinute : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runningInstanceThatDoesNotAnswer_data();
    void runningInstanceThatDoesNotAnswer();
    void withoutARuntimeFolderNothingIsLeftInTheCurrentOne();
};

void tst_FirstMinute::runningInstanceThatDoesNotAnswer_data()
{
    const auto row = columns<bool>("hasBus");
    row("bus", true);
    row("socket", false);
}

void tst_FirstMinute::runningInstanceThatDoesNotAnswer()
{
    QFETCH(bool, hasBus);
    Session session;
    if (!hasBus)
        session.environment.remove(busVariable);
    Program first(session, {});
    QVERIFY(first.millisecondsUntil(firstFrame) >= 0);
    first.stop();

    Program second(session, {});
    QCOMPARE(second.exitCode(), 1);
    QVERIFY(second.errorOutput().contains("Vaelix 已在运行，但没有响应"));
    QVERIFY(!second.errorOutput().contains(firstFrame));
}

void tst_FirstMinute::withoutARuntimeFolderNothingIsLeftInTheCurrentOne()
{
    Session session;
    session.environment.remove(busVariable);
    // A folder that everybody may write to is none to Qt, and its own choice is taken by somebody's file.
    const QTemporaryDir shared;
    QVERIFY(QFile::setPermissions(shared.path(), QFile::Permissions(0x7777)));
    QFile taken(shared.filePath(u"runtime-"_s + QFileInfo(shared.path()).owner()));
    QVERIFY(taken.open(QIODevice::WriteOnly));
    session.environment.insert(u"XDG_RUNTIME_DIR"_s, shared.path());
    session.environment.insert(u"TMPDIR"_s, shared.path());
    const QTemporaryDir current;
    Program first(session, {}, current.path());
    QVERIFY(first.millisecondsUntil(firstFrame) >= 0);
    QCOMPARE(QDir(current.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
             QStringList());
    const QFileInfo folder(session.folder.filePath(u"vaelix/run"_s));
    QVERIFY(folder.isDir());
    QCOMPARE(folder.permissions() & QFile::Permissions(0x0077), QFile::Permissions());

    Program second(session, {}, current.path());
    QCOMPARE(second.exitCode(), 0);
    QVERIFY(first.isRunning());
}

QTEST_GUILESS_MAIN(tst_FirstMinute)
#include "tst_FirstMinute.moc"
