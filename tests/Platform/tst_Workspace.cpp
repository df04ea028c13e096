#include "Platform/Workspace.h"
#include "Support/Scratch.h"

#include <QFile>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

class tst_Workspace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void opensInATerminal_data();
    void opensInATerminal();
    void refusesWhatOthersCanWrite_data();
    void refusesWhatOthersCanWrite();
};

void tst_Workspace::opensInATerminal_data()
{
    QTest::addColumn<QStringList>("installed");
    QTest::addColumn<QString>("preferred"); // $TERMINAL
    QTest::addColumn<QString>("started");

    QTest::newRow("the system's choice before others")
        << QStringList{u"xterm"_s, u"x-terminal-emulator"_s, u"konsole"_s} << ""
        << "x-terminal-emulator -e";
    QTest::newRow("the user's choice before the system's")
        << QStringList{u"mine"_s, u"x-terminal-emulator"_s} << "mine --title \"a b\""
        << "mine --title a b -e";
    QTest::newRow("a choice that is not installed") << QStringList{u"xterm"_s} << "gone"
                                                    << "xterm -e";
    QTest::newRow("one that takes the command line as it is") << QStringList{u"kitty"_s} << ""
                                                              << "kitty";
    QTest::newRow("none") << QStringList() << ""
                          << "";
}

void tst_Workspace::opensInATerminal()
{
    QFETCH(QStringList, installed);
    QFETCH(QString, preferred);
    QFETCH(QString, started);
    Scratch scratch;
    for (const QString &name : installed) {
        const QString terminal = u"terminals/"_s + name;
        scratch.write(terminal,
                      "#!/bin/sh\necho \"${0##*/} $*\" > \"$HOME/new\"; /bin/mv \"$HOME/new\" \"$HOME/started\"\n");
        QFile::setPermissions(scratch.path(terminal), QFile::ReadOwner | QFile::ExeOwner);
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"PATH"_s, scratch.path(u"terminals"_s));
    environment.insert(u"HOME"_s, scratch.home.path());
    environment.insert(u"TERMINAL"_s, preferred);
    scratch.write(u"chat.command"_s, "#!/bin/bash\n");

    const auto opened = Workspace(environment).openCommandFile(scratch.path(u"chat.command"_s));
    QCOMPARE(opened.has_value(), !started.isEmpty());
    if (!opened) {
        QCOMPARE(opened.error().description, u"没有找到终端程序，请安装一个终端后重试"_s);
        return;
    }
    QTRY_VERIFY(QFile::exists(scratch.path(u"started"_s)));
    QCOMPARE(QString::fromUtf8(scratch.read(u"started"_s)).trimmed(),
             started + u" /bin/bash "_s + scratch.path(u"chat.command"_s));
}

void tst_Workspace::refusesWhatOthersCanWrite_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("isLink");
    QTest::newRow("everybody") << 0757 << false;
    QTest::newRow("its group") << 0775 << false;
    QTest::newRow("through a link") << 0755 << true;
    QTest::newRow("not there") << 0 << false;
}

void tst_Workspace::refusesWhatOthersCanWrite()
{
    QFETCH(int, mode);
    QFETCH(bool, isLink);
    Scratch scratch;
    const QString path = scratch.path(u"chat.command"_s);
    if (mode != 0) {
        scratch.write(isLink ? u"target"_s : u"chat.command"_s, "#!/bin/bash\n");
        if (isLink)
            QFile::link(scratch.path(u"target"_s), path);
        QCOMPARE(::chmod(QFile::encodeName(path), mode_t(mode)), 0);
    }
    const auto opened = scratch.workspace.openCommandFile(path);
    QVERIFY(!opened);
    QCOMPARE(opened.error().description, u"无法打开 %1：它不是当前用户的文件"_s.arg(path));
}

QTEST_GUILESS_MAIN(tst_Workspace)
#include "tst_Workspace.moc"
