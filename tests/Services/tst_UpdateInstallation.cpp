// From a downloaded disk image to the new bundle in the old one's place, with the real tools.

#include "Platform/FolderContent.h"
#include "Platform/QuitApplication.h"
#include "Services/UpdateCheckService.h"
#include "Services/UpdateScript.h"
#include "Support/Bundles.h"
#include "Support/Scratch.h"
#include "Support/SmallDisk.h"
#include "Support/Table.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTimer>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString helper = QStringLiteral(HDIUTIL);

/// A running bundle of build 42 and a disk image, nothing in it yet, to update it from.
struct Fixture {
    explicit Fixture(const QString &folder = u"apps"_s)
        : environment{.bundle = scratch.path(folder + u"/Vaelix.app"_s),
                      .temporaryFolder = scratch.path(u"tmp"_s),
                      .diskImageTool = helper,
                      .recovery = UpdateRecovery(scratch.path(u"Updates"_s)),
                      .attributeTool = scratch.path(u"xattr"_s)}
    {
        makeBundle(environment.bundle, 42);
        QDir().mkpath(environment.temporaryFolder);
    }

    QString makeImageOf(const QString &folder) const { return makeImage(scratch.path(folder), image); }
    QString hash() const
    {
        QFile file(image);
        QCryptographicHash hash(QCryptographicHash::Sha256);
        return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? QString::fromLatin1(hash.result().toHex())
                                                                     : u""_s;
    }
    UpdateInstallation::Outcome prepare(const QString &expectedHash)
    {
        steps.clear();
        UpdateInstallation installation(environment, image, expectedHash, versionOf(43),
                                        [this](const QString &step) { steps.append(step); });
        return QCoro::waitFor(installation.prepare());
    }
    /// Why it was not prepared; empty when it was.
    QString failure(const QString &expectedHash = {})
    {
        const auto prepared = prepare(expectedHash);
        return prepared ? QString() : prepared.error().description();
    }
    QStringList mountedImages() const
    {
        QStringList images;
        for (QDirIterator entries(environment.temporaryFolder, {u"vaelix-image-*"_s}, QDir::AllEntries | QDir::Hidden,
                                  QDirIterator::Subdirectories);
             entries.hasNext();)
            images.append(entries.next());
        return images;
    }

    Scratch scratch;
    UpdateInstallation::Environment environment;
    const QString image = scratch.path(u"update.zip"_s);
    QStringList steps;
};

/// In a process of its own, which plays the application: installs the image and ends. Arguments: bundle, home, image,
/// and the step at which the user closes the window.
int installAndQuit(const QStringList &arguments)
{
    const Bundle bundle = Bundle::at(arguments[0]);
    UpdateCheckService service(
        u"http://127.0.0.1:9/api/v1"_s, bundle,
        {.folders = Folders::under(arguments[1]), .diskImageTool = helper, .quit = [] { QCoreApplication::exit(0); }});
    // It may fail before there is an event loop to end.
    const auto fail = [] { QTimer::singleShot(0, [] { QCoreApplication::exit(1); }); };
    const QString lastStep = arguments.value(3);
    service.installUpdate(arguments[2], {}, versionOf(43), fail, [lastStep](const QString &step) {
        if (step == lastStep)
            QTimer::singleShot(0, [] { QCoreApplication::exit(2); });
    });
    return QCoreApplication::exec();
}

/// The same for an application that is told to quit, and gives 7 when it ends by itself.
int quitBusyOrIdle(const QString &state)
{
    quitApplication();
    while (state == u"busy"_s)
        ::pause();
    return QCoreApplication::exec() + 7;
}

} // namespace

class tst_UpdateInstallation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void preparesTheSwap();
    void verifiesOnlyWithAHash();
    void failure_data();
    void failure();
    void imageThatChangesAfterItWasHashed();
    void answerOfTheDiskImageTool_data();
    void answerOfTheDiskImageTool();
    void placesThatCannotBeUpdated();
    void newProgramThatCannotTellItsVersion_data();
    void newProgramThatCannotTellItsVersion();
    void bundleOnADiskWithoutRoom();
    void closedWindowLeavesNoFiles_data();
    void closedWindowLeavesNoFiles();
    void applicationThatIsToldToQuit_data();
    void applicationThatIsToldToQuit();
    void oneUpdaterAtATime();
    void replacesTheBundle_data();
    void replacesTheBundle();
};

void tst_UpdateInstallation::preparesTheSwap()
{
    Fixture fixture(u"我的 应用"_s);
    fixture.scratch.write(u"content/说明.txt"_s, "x");
    makeBundle(fixture.scratch.path(u"content/Foo.app"_s), 43);
    QCOMPARE(fixture.makeImageOf(u"content"_s), u""_s);
    const auto prepared = fixture.prepare(fixture.hash().toUpper());
    QVERIFY2(prepared, qPrintable(prepared ? u""_s : prepared.error().description()));
    QCOMPARE(QFileInfo(prepared->temporaryFolder.path).permissions() & ~QFile::Permissions(0x0700), // that of the user
             QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QCOMPARE(fixture.steps,
             (QStringList{u"正在验证安装包完整性..."_s, u"正在准备安装包..."_s, u"正在挂载安装镜像..."_s,
                          u"正在复制新版本..."_s, u"即将重启应用..."_s}));
    const QString folder = QFileInfo(prepared->script).path();
    QVERIFY(QRegularExpression(u"/tmp/Vaelix_update_[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"_s)
                .match(folder)
                .hasMatch());
    QCOMPARE(prepared->newBundle, folder + u"/Foo.app"_s);
    QCOMPARE(buildOf(prepared->newBundle), u"43"_s);
    QVERIFY(Bundle::at(prepared->newBundle).executable());
    QCOMPARE(QFile::symLinkTarget(prepared->newBundle + u"/Contents/Resources/link"_s),
             prepared->newBundle + u"/Contents/Resources/data"_s);
    QVERIFY(QFileInfo(prepared->script).isExecutable());
    QCOMPARE(prepared->moves, folder + u"/moves.sh"_s);
    QFile script(prepared->script);
    QVERIFY(script.open(QIODevice::ReadOnly));
    QCOMPARE(script.readAll(),
             updateScript(QCoreApplication::applicationPid(), prepared->newBundle, fixture.environment.bundle, folder));
    QCOMPARE(buildOf(fixture.environment.bundle), u"42"_s);
    QCOMPARE(fixture.mountedImages(), QStringList());
}

void tst_UpdateInstallation::verifiesOnlyWithAHash()
{
    Fixture fixture;
    makeBundle(fixture.scratch.path(u"content/Vaelix.app"_s), 43);
    QCOMPARE(fixture.makeImageOf(u"content"_s), u""_s);
    QCOMPARE(fixture.failure(), u""_s);
    QVERIFY(!fixture.steps.contains(u"正在验证安装包完整性..."_s));
    QCOMPARE(fixture.failure(QString(64, u'0')), u"更新包哈希验证失败，文件可能已损坏"_s);
    QCOMPARE(fixture.steps, QStringList{u"正在验证安装包完整性..."_s});
    QVERIFY(QFile::remove(fixture.image));
    QCOMPARE(fixture.failure(QString(64, u'0')), u"更新文件不存在"_s);
}

void tst_UpdateInstallation::failure_data()
{
    // What is done to a good image's content, then to the image.
    using Change = std::function<void(const Fixture &)>;
    const auto row = columns<Change, Change, QString>("content", "image", "reason");
    const Change nothing = [](const Fixture &) { };
    const auto linking = [](const QString &target) -> Change {
        return [target](const Fixture &fixture) { QFile::link(target, fixture.scratch.path(u"content/link"_s)); };
    };
    row(
        "no bundle",
        [](const Fixture &fixture) { QDir(fixture.scratch.path(u"content/Vaelix.app"_s)).removeRecursively(); },
        nothing, u"更新包中未找到应用程序"_s);
    row(
        "bundle that cannot run",
        [](const Fixture &fixture) {
            QFile::remove(fixture.scratch.path(u"content/Vaelix.app/Contents/MacOS/Program"_s));
        },
        nothing, u"更新包中未找到应用程序"_s);
    row("link that leads outside", linking(u"/etc"_s), nothing, u"解压更新包失败"_s);
    row("link that leads up", linking(u"../../x"_s), nothing, u"解压更新包失败"_s);
    row(
        "truncated image", nothing,
        [](const Fixture &fixture) { QFile::resize(fixture.image, QFileInfo(fixture.image).size() / 2); },
        u"解压更新包失败"_s);
    row(
        "not an image", nothing, [](const Fixture &fixture) { fixture.scratch.write(u"update.zip"_s, "<html>"); },
        u"解压更新包失败"_s);
    row(
        "empty image", nothing, [](const Fixture &fixture) { fixture.scratch.write(u"update.zip"_s, ""); },
        u"解压更新包失败"_s);
    row("no image", nothing, [](const Fixture &fixture) { QFile::remove(fixture.image); }, u"解压更新包失败"_s);
}

void tst_UpdateInstallation::failure()
{
    using Change = std::function<void(const Fixture &)>;
    QFETCH(Change, content);
    QFETCH(Change, image);
    Fixture fixture;
    fixture.scratch.write(u"content/a.txt"_s, "x");
    makeBundle(fixture.scratch.path(u"content/Vaelix.app"_s), 43);
    content(fixture);
    QCOMPARE(fixture.makeImageOf(u"content"_s), u""_s);
    image(fixture);
    QTEST(fixture.failure(), "reason");
    QCOMPARE(fixture.mountedImages(), QStringList());
    QCOMPARE(buildOf(fixture.environment.bundle), u"42"_s);
}

void tst_UpdateInstallation::imageThatChangesAfterItWasHashed()
{
    Fixture fixture;
    makeBundle(fixture.scratch.path(u"content/Vaelix.app"_s), 43);
    QCOMPARE(fixture.makeImageOf(u"content"_s), u""_s);
    // Another updater downloads while this one installs.
    fixture.scratch.writeProgram(u"hdiutil"_s,
                                 "#!/bin/sh\n[ $1 = attach ] && echo >> \"$2\"\nexec '" HDIUTIL "' \"$@\"\n");
    fixture.environment.diskImageTool = fixture.scratch.path(u"hdiutil"_s);
    QCOMPARE(fixture.failure(fixture.hash()), u"更新包哈希验证失败，文件可能已损坏"_s);
    QCOMPARE(fixture.mountedImages(), QStringList());
}

void tst_UpdateInstallation::answerOfTheDiskImageTool_data()
{
    const auto row = columns<QByteArray, QString>("tool", "reason");
    const auto answer = [](const QByteArray &plist) {
        return "#!/bin/sh\ncat <<'END'\n<plist version=\"1.0\">" + plist + "</plist>\nEND\n";
    };
    const QByteArray entities = "<dict><key>system-entities</key>";
    const QString failed = u"解压更新包失败"_s;
    row("not a property list", "#!/bin/sh\necho hello\n", u"磁盘映像工具的回答不是属性列表"_s);
    row("not a dictionary", answer("<array/>"), failed);
    row("no entities", answer("<dict/>"), failed);
    row("entities are a text", answer(entities + "<string>x</string></dict>"), failed);
    row("no mount point", answer(entities + "<array><dict/><string>x</string></array></dict>"), failed);
    row("the second has one",
        answer(entities
               + "<array><dict/><dict><key>mount-point</key><string>/nonexistent</string></dict></array></dict>"),
        u"更新包中未找到应用程序"_s);
    row("fails", "#!/bin/sh\nexit 1\n", failed);
    row("is killed", "#!/bin/sh\nkill -9 $$\n", failed);
}

void tst_UpdateInstallation::answerOfTheDiskImageTool()
{
    QFETCH(QByteArray, tool);
    Fixture fixture;
    fixture.scratch.writeProgram(u"hdiutil"_s, tool);
    fixture.environment.diskImageTool = fixture.scratch.path(u"hdiutil"_s);
    QTEST(fixture.failure(), "reason");
    fixture.environment.diskImageTool = fixture.scratch.path(u"missing"_s);
    QVERIFY(fixture.failure().startsWith(u"无法启动 "_s + fixture.environment.diskImageTool));
}

void tst_UpdateInstallation::placesThatCannotBeUpdated()
{
    const QString packaged = u"Vaelix 安装在当前用户不能改动的位置，请通过系统的软件包管理器升级。"_s;
    Fixture fixture;
    QCOMPARE(UpdateInstallation::obstacle(fixture.environment.bundle), u""_s);
    // A package's is left to the package manager, also by a user who could write there.
    const SmallDisk packages(u"/usr/games"_s, 1 << 20);
    const SmallDisk own(u"/usr/local/games"_s, 1 << 20);
    makeBundle(u"/usr/games/Vaelix.app"_s, 42);
    makeBundle(u"/usr/local/games/Vaelix.app"_s, 42);
    QCOMPARE(UpdateInstallation::obstacle(u"/usr/games/Vaelix.app"_s), packaged);
    QCOMPARE(UpdateInstallation::obstacle(u"/usr/local/games/Vaelix.app"_s), u""_s);
    QCOMPARE(UpdateInstallation::obstacle(fixture.scratch.path(u"missing/Vaelix.app"_s)), packaged);
    fixture.environment.bundle = fixture.scratch.path(u"a$b/Vaelix.app"_s);
    makeBundle(fixture.environment.bundle, 42);
    QVERIFY(fixture.failure().contains(fixture.environment.bundle));
    QCOMPARE(fixture.steps, QStringList());
    fixture.environment.bundle = fixture.scratch.path(u"apps/Vaelix.app"_s);
    makeBundle(fixture.scratch.path(u"content/Vaelix.app"_s), 43);
    QCOMPARE(fixture.makeImageOf(u"content"_s), u""_s);
    fixture.scratch.write(u"file"_s, "x"); // where the temporary folder should be
    fixture.environment.temporaryFolder = fixture.scratch.path(u"file"_s);
    QVERIFY(fixture.failure().contains(u"路径中有一级不是文件夹"_s));
    QCOMPARE(fixture.mountedImages(), QStringList());
}

void tst_UpdateInstallation::newProgramThatCannotTellItsVersion_data()
{
    const auto row = columns<QByteArray, QString>("program", "reason");
    const QString cannotRun = u"新版本无法运行，当前版本未改动"_s;
    row("fails", "#!/bin/sh\necho 'Vaelix 1.2.0 (43)'\nexit 3\n", cannotRun + u"（退出状态 3）"_s);
    row("is killed", "#!/bin/sh\necho 'Vaelix 1.2.0 (43)'\nkill -SEGV $$\n", cannotRun + u"（退出状态 139）"_s);
    row("for another machine",
        "\x7f"
        "ELF no program",
        cannotRun + u"：无法启动 "_s);
    row("without its interpreter", "#!/nonexistent\n", cannotRun + u"：无法启动 "_s);
    row("goes on for ever", "#!/bin/sh\necho 'Vaelix 1.2.0 (43)'\nsleep 1000\n", u" 没有在限定的时间内结束"_s);
    row("says nothing", "#!/bin/sh\n", u"更新包中的程序不是 Vaelix 1.2.0 (43)，当前版本未改动："_s);
    row("another build", "#!/bin/sh\necho 'Vaelix 1.2.0 (44)'\n", u"当前版本未改动：Vaelix 1.2.0 (44)"_s);
    row("opens a window when asked", "#!/bin/sh\n[ \"$*\" = --version ] || echo 'Vaelix 1.2.0 (43)'\n",
        u"当前版本未改动："_s);
}

void tst_UpdateInstallation::newProgramThatCannotTellItsVersion()
{
    QFETCH(QByteArray, program);
    QFETCH(QString, reason);
    Fixture fixture;
    fixture.environment.trialLimit = std::chrono::milliseconds(program.contains("sleep") ? 300 : 30'000);
    makeBundle(fixture.scratch.path(u"content/Vaelix.app"_s), 43, program);
    QCOMPARE(fixture.makeImageOf(u"content"_s), u""_s);
    const QString failure = fixture.failure();
    QVERIFY2(failure.contains(reason), qPrintable(failure));
    QVERIFY(!fixture.steps.contains(u"即将重启应用..."_s));
    QCOMPARE(buildOf(fixture.environment.bundle), u"42"_s);
    QCOMPARE(fixture.mountedImages(), QStringList());
}

void tst_UpdateInstallation::bundleOnADiskWithoutRoom()
{
    Fixture fixture;
    QVERIFY(QDir().mkpath(fixture.scratch.path(u"small"_s)));
    const SmallDisk disk(fixture.scratch.path(u"small"_s), 200'000); // a bundle takes half of it
    fixture.environment.bundle = fixture.scratch.path(u"small/Vaelix.app"_s);
    makeBundle(fixture.environment.bundle, 42);
    makeBundle(fixture.scratch.path(u"content/Vaelix.app"_s), 43);
    QCOMPARE(fixture.makeImageOf(u"content"_s), u""_s);
    QCOMPARE(fixture.failure(), u"%1 所在的磁盘空间不足"_s.arg(fixture.environment.bundle));
    QCOMPARE(buildOf(fixture.environment.bundle), u"42"_s);
    fixture.environment.bundle = fixture.scratch.path(u"apps/Vaelix.app"_s);
    QCOMPARE(fixture.failure(), u""_s);
}

void tst_UpdateInstallation::closedWindowLeavesNoFiles_data()
{
    const auto row = columns<QString>("step");
    row("unpacking", u"正在挂载安装镜像..."_s);
    row("copying", u"正在复制新版本..."_s);
}

void tst_UpdateInstallation::closedWindowLeavesNoFiles()
{
    QFETCH(QString, step);
    const Fixture fixture;
    makeBundle(fixture.scratch.path(u"content/Vaelix.app"_s), 43);
    fixture.scratch.write(u"content/Vaelix.app/Contents/Resources/large"_s, QByteArray(50'000'000, 'x'));
    QCOMPARE(fixture.makeImageOf(u"content"_s), u""_s);
    QProcess application;
    application.start(QCoreApplication::applicationFilePath(),
                      {u"install"_s, fixture.environment.bundle, fixture.scratch.home.path(), fixture.image, step});
    QVERIFY(application.waitForFinished());
    QCOMPARE(application.exitCode(), 2);
    const auto bytes = [&] { return extentOf(fixture.environment.temporaryFolder).value_or(FolderExtent()).bytes; };
    QTRY_COMPARE_WITH_TIMEOUT(bytes(), 0, 20'000); // the tool ends by itself
    QVERIFY(!UpdateCheckService::recovery(fixture.scratch.folders).recover(fixture.environment.bundle).bundle);
    QTRY_COMPARE(QDir(fixture.environment.temporaryFolder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList());
    QCOMPARE(buildOf(fixture.environment.bundle), u"42"_s);
}

void tst_UpdateInstallation::applicationThatIsToldToQuit_data()
{
    const auto row = columns<QString, int>("state", "exitCode");
    row("ends by itself", u"idle"_s, 7);
    row("is ended when it does not", u"busy"_s, 0);
}

void tst_UpdateInstallation::applicationThatIsToldToQuit()
{
    QFETCH(QString, state);
    QProcess application;
    QElapsedTimer timer;
    timer.start();
    application.start(QCoreApplication::applicationFilePath(), {u"quit"_s, state});
    QVERIFY(application.waitForFinished(20'000));
    QCOMPARE(application.exitStatus(), QProcess::NormalExit);
    QTEST(application.exitCode(), "exitCode");
    QVERIFY(timer.elapsed() >= (state == u"busy"_s ? 3000 : 500));
}

void tst_UpdateInstallation::oneUpdaterAtATime()
{
    Fixture fixture;
    makeBundle(fixture.scratch.path(u"content/Vaelix.app"_s), 43);
    QCOMPARE(fixture.makeImageOf(u"content"_s), u""_s);
    {
        const auto first = fixture.prepare({});
        QVERIFY(first);
        QCOMPARE(fixture.failure(), u"另一个 Vaelix 正在更新，请稍后再试"_s);
    }
    QCOMPARE(fixture.failure(), u""_s);
}

void tst_UpdateInstallation::replacesTheBundle_data()
{
    const auto row = columns<QString>("folder");
    row("plain", u"apps"_s);
    row("spaces, quote and Chinese", u"it's 我的 应用 *"_s);
}

void tst_UpdateInstallation::replacesTheBundle()
{
    QFETCH(QString, folder);
    const Fixture fixture(folder);
    const QString opened = fixture.scratch.path(u"opened"_s);
    // Says which bundle runs, what PATH it has, and what is open in it besides the standard three.
    const QByteArray program = "#!/bin/bash\n[ \"$1\" = --version ] && exec echo '" + versionOf(43).toUtf8()
        + "'\nPATH=/usr/bin:/bin:$PATH\nexec 2>&1\n"
          "(readlink -f \"$0\"; echo \"${PATH#/usr/bin:/bin:}${BASH_ENV+BASH_ENV}\"; ls -1 /proc/$$/fd | wc -l) > '"
        + opened.toUtf8() + ".tmp'\nmv '" + opened.toUtf8() + ".tmp' '" + opened.toUtf8() + "'\n";
    makeBundle(fixture.scratch.path(u"content/Vaelix.app"_s), 43, program);
    QVERIFY(QDir().mkpath(fixture.scratch.path(u"content/Vaelix.app/Contents/Helpers"_s)));
    QVERIFY(QFile::copy(QStringLiteral(OPEN), fixture.scratch.path(u"content/Vaelix.app/Contents/Helpers/open"_s)));
    QCOMPARE(fixture.makeImageOf(u"content"_s), u""_s);

    QProcess application;
    application.start(QCoreApplication::applicationFilePath(),
                      {u"install"_s, fixture.environment.bundle, fixture.scratch.home.path(), fixture.image});
    QVERIFY(application.waitForFinished());
    QCOMPARE(application.exitCode(), 0);
    const QString log = QString::fromUtf8(application.readAllStandardOutput());
    const QString expected =
        u"^🔄 正在准备安装包...\n🔄 正在挂载安装镜像...\n📦 DMG 已挂载到: /[^\n]+\n🔄 正在复制新版本...\n"
        "📦 已复制 Vaelix.app 到临时目录\n📦 DMG 已卸载\n🔄 即将重启应用...\n📍 当前应用路径: %1\n"
        "🔄 更新脚本已启动，正在退出当前应用...\n$"_s;
    const QRegularExpression whole(expected.arg(QRegularExpression::escape(fixture.environment.bundle)));
    QVERIFY2(whole.match(log).hasMatch(), qPrintable(log));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(opened), 20'000);
    const QList<QByteArray> lines = fixture.scratch.read(u"opened"_s).split('\n');
    QCOMPARE(QString::fromUtf8(lines[0]), fixture.environment.bundle + u"/Contents/MacOS/Program"_s);
    QCOMPARE(lines[1], qgetenv("PATH"));
    QCOMPARE(lines[2], "4"); // the fourth is the script's own, of bash
    QCOMPARE(buildOf(fixture.environment.bundle), u"43"_s);
    QVERIFY(!QFileInfo::exists(fixture.environment.bundle + u".backup"_s));
    QTRY_COMPARE(QDir(fixture.environment.temporaryFolder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList());
    // The script has let go of the lock, and the application that it opened never had it.
    const UpdateRecovery recovery = UpdateCheckService::recovery(fixture.scratch.folders);
    QTRY_VERIFY(recovery.lock());
    QCOMPARE(recovery.recover(fixture.environment.bundle).bundle, std::nullopt);
}

int main(int argc, char *argv[])
{
    SmallDisk::keepMountsPrivate();
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"install"_s)
        return installAndQuit(arguments.sliced(2));
    if (arguments.value(1) == u"quit"_s)
        return quitBusyOrIdle(arguments.value(2));
    tst_UpdateInstallation test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_UpdateInstallation.moc"
