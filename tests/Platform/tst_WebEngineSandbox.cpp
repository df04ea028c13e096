// The question about the sandbox, asked by processes of various rights: copies of this program.

#include "Platform/WebEngineSandbox.h"
#include "Support/Table.h"

#include <QFileInfo>
#include <QProcess>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString asRoot = u"Vaelix 正以 root 身份运行，无法安全地在窗口中显示网页。"_s;
const QString forbidden = u"系统不允许使用用户命名空间，无法安全地在窗口中显示网页。"_s;

QProcessEnvironment plainEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(u"QTWEBENGINE_DISABLE_SANDBOX"_s);
    environment.remove(u"QTWEBENGINE_CHROMIUM_FLAGS"_s);
    return environment;
}

QStringList asOrdinaryUser(const QStringList &commandLine)
{
    if (::geteuid() != 0)
        return commandLine;
    return QStringList{u"setpriv"_s, u"--reuid=65534"_s, u"--regid=65534"_s, u"--clear-groups"_s} + commandLine;
}

/// A copy of this program that is root, if only in a name space of its own.
QStringList probeAsRoot()
{
    const QStringList probing{QCoreApplication::applicationFilePath(), u"--probe"_s};
    return ::geteuid() == 0 ? probing : QStringList{u"unshare"_s, u"--user"_s, u"--map-root-user"_s} + probing;
}

struct Run {
    int exitCode;
    QString output;
};

Run run(const QStringList &commandLine, const QProcessEnvironment &environment = plainEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(commandLine.first(), commandLine.sliced(1));
    process.waitForFinished();
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput())};
}

QStringList probe()
{
    return {QCoreApplication::applicationFilePath(), u"--probe"_s};
}

} // namespace

class tst_WebEngineSandbox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anOrdinaryUserHasItWhereNamespacesAreAllowed();
    void itIsMissedWhereNamespacesAreForbidden();
    void rootHasNone();
    void theEnvironmentSwitchesItOff_data();
    void theEnvironmentSwitchesItOff();
};

void tst_WebEngineSandbox::anOrdinaryUserHasItWhereNamespacesAreAllowed()
{
    const bool isAllowed = run(asOrdinaryUser({u"unshare"_s, u"--user"_s, u"--map-current-user"_s, u"--pid"_s,
                                               u"--net"_s, u"--fork"_s, u"true"_s}))
                               .exitCode
        == 0;
    const Run asked = run(asOrdinaryUser(probe()));
    QCOMPARE(asked.exitCode, 0);
    QCOMPARE(asked.output, isAllowed ? QString() : forbidden);
}

void tst_WebEngineSandbox::itIsMissedWhereNamespacesAreForbidden()
{
    // In a name space of its own the machine's limit can be had without touching the machine's.
    const QStringList withoutNamespaces{u"unshare"_s,
                                        u"--user"_s,
                                        u"--map-current-user"_s,
                                        u"--keep-caps"_s,
                                        u"sh"_s,
                                        u"-c"_s,
                                        u"echo 0 > /proc/sys/user/max_user_namespaces && "
                                        "exec setpriv --inh-caps=-all --ambient-caps=-all \"$@\""_s,
                                        u"sh"_s};
    const Run asked = run(asOrdinaryUser(withoutNamespaces + probe()));
    QCOMPARE(asked.exitCode, 0);
    QCOMPARE(asked.output, forbidden);
}

void tst_WebEngineSandbox::rootHasNone()
{
    QCOMPARE(run(probeAsRoot()).output, asRoot);
}

void tst_WebEngineSandbox::theEnvironmentSwitchesItOff_data()
{
    const auto row = columns<QString, QString, bool>("variable", "value", "isSwitchedOff");
    row("Qt's variable", u"QTWEBENGINE_DISABLE_SANDBOX"_s, u"1"_s, true);
    row("Chromium's flag", u"QTWEBENGINE_CHROMIUM_FLAGS"_s, u"--disable-gpu --no-sandbox"_s, true);
    row("another flag", u"QTWEBENGINE_CHROMIUM_FLAGS"_s, u"--no-sandbox-and-more"_s, false);
}

void tst_WebEngineSandbox::theEnvironmentSwitchesItOff()
{
    QFETCH(QString, variable);
    QFETCH(QString, value);
    QProcessEnvironment environment = plainEnvironment();
    environment.insert(variable, value);
    QFETCH(bool, isSwitchedOff);
    QCOMPARE(run(probeAsRoot(), environment).output, isSwitchedOff ? QString() : asRoot);
}

int main(int argc, char *argv[])
{
    if (argc == 2 && qstrcmp(argv[1], "--probe") == 0) {
        std::fputs(qUtf8Printable(WebEngineSandbox::obstacle()), stdout);
        return 0;
    }
    QCoreApplication application(argc, argv);
    tst_WebEngineSandbox test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_WebEngineSandbox.moc"
