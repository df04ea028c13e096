#include "Platform/Workspace.h"
#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QFile>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

class tst_Workspace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void opensInATerminal_data();
    void opensInATerminal();
    void opensAnAddressInTheBrowser_data();
    void opensAnAddressInTheBrowser();
    void refusesWhatOthersCanWrite_data();
    void refusesWhatOthersCanWrite();
};

void tst_Workspace::opensInATerminal_data()
{
    // preferred: $TERMINAL
    const auto row = columns<QStringList, QString, QString>("installed", "preferred", "started");

    row("the system's choice before others", QStringList{u"xterm"_s, u"x-terminal-emulator"_s, u"konsole"_s}, u""_s,
        u"x-terminal-emulator -e"_s);
    row("the user's choice before the system's", QStringList{u"mine"_s, u"x-terminal-emulator"_s},
        u"mine --title \"a b\""_s, u"mine --title a b -e"_s);
    row("a choice that is not installed", QStringList{u"xterm"_s}, u"gone"_s, u"xterm -e"_s);
    row("one that takes the command line as it is", QStringList{u"kitty"_s}, u""_s, u"kitty"_s);
    row("none", {}, u""_s, u""_s);
}

void tst_Workspace::opensInATerminal()
{
    QFETCH(QStringList, installed);
    QFETCH(QString, preferred);
    QFETCH(QString, started);
    Scratch scratch;
    for (const QString &name : installed) {
        scratch.writeProgram(
            u"terminals/"_s + name,
            "#!/bin/sh\necho \"${0##*/} $*\" > \"$HOME/new\"; /bin/mv \"$HOME/new\" \"$HOME/started\"\n");
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

void tst_Workspace::opensAnAddressInTheBrowser_data()
{
    // script: of the desktop's opener; none when it is not installed
    const auto row = columns<QByteArray, bool>("script", "isOpened");

    row("opened", R"(#!/bin/sh
                     printf %s "$*" > "$HOME/opened")",
        true);
    row("no browser", "#!/bin/sh\nexit 3\n", false);
    row("killed", "#!/bin/sh\nkill -9 $$\n", false);
    row("cannot be run", "#!/nowhere\n", false);
    row("not installed", {}, false);
}

void tst_Workspace::opensAnAddressInTheBrowser()
{
    QFETCH(QByteArray, script);
    QFETCH(bool, isOpened);
    Scratch scratch;
    if (!script.isEmpty())
        scratch.writeProgram(u"terminals/xdg-open"_s, script);
    const QUrl address(u"https://login.example/authorize?a=1&state=$(x) '"_s);
    const auto opened = QCoro::waitFor(scratch.workspace.openAddress(address));
    QCOMPARE(opened.has_value(), isOpened);
    if (isOpened)
        QCOMPARE(scratch.read(u"opened"_s), "https://login.example/authorize?a=1&state=$(x)%20'");
    else
        QCOMPARE(opened.error().description, u"没有找到浏览器"_s);
}

void tst_Workspace::refusesWhatOthersCanWrite_data()
{
    const auto row = columns<int, bool>("mode", "isLink");
    row("everybody", 0757, false);
    row("its group", 0775, false);
    row("through a link", 0755, true);
    row("not there", 0, false);
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
