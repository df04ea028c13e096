#include "Platform/FileDescriptor.h"
#include "Support/Table.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <plist/plist.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// The forms that an image made by xorriso can be read in.
enum class Form {
    Hybrid, // ISO and HFS+ volume at once; read as ISO
    HFS, // the HFS+ volume alone
};

struct Outcome {
    int exitCode;
    QByteArray output;
    QByteArray error;
};

} // namespace

/// Runs the helper on real images, with a temporary folder of its own.
class tst_hdiutil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void attachedVolumeHasTheContent_data();
    void attachedVolumeHasTheContent();
    void attachingTwiceGivesTwoVolumes();
    void refusedImage_data();
    void refusedImage();
    void hostileImage_data();
    void hostileImage();
    void imageThatUnpacksTooLarge();
    void detachRemovesOnlyWhatAttachMade();
    void callerThatGoes_data();
    void callerThatGoes();
    void wrongUse_data();
    void wrongUse();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QStringList leftBehind() const { return QDir(path(u"tmp"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot); }
    QByteArray read(const QString &file) const;
    void write(const QString &file, const QByteArray &content) const;
    void link(const QString &target, const QString &name) const;
    /// Of the folder "content".
    QByteArray makeImage(Form form) const;
    Outcome run(const QStringList &arguments) const;
    Outcome attach(const QString &image) const;
    Outcome detach(const QString &mountPoint, const QStringList &options = {u"-quiet"_s}) const;
    static QString mountPoint(const QByteArray &propertyList);

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_hdiutil::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QDir folder(m_folder->path());
    QVERIFY(folder.mkdir(u"tmp"_s) && folder.mkdir(u"content"_s));
}

QByteArray tst_hdiutil::read(const QString &file) const
{
    QFile content(QDir(m_folder->path()).absoluteFilePath(file));
    return content.open(QIODevice::ReadOnly) ? content.readAll() : QByteArray();
}

void tst_hdiutil::write(const QString &file, const QByteArray &content) const
{
    QDir().mkpath(QFileInfo(path(file)).path());
    QFile written(path(file));
    QVERIFY(written.open(QIODevice::WriteOnly));
    QCOMPARE(written.write(content), content.size());
}

void tst_hdiutil::link(const QString &target, const QString &name) const
{
    QDir().mkpath(QFileInfo(path(name)).path());
    QCOMPARE(::symlink(qPrintable(target), qPrintable(path(name))), 0);
}

QByteArray tst_hdiutil::makeImage(Form form) const
{
    QProcess maker;
    const QString image = path(u"made.img"_s);
    QFile::remove(image);
    maker.start(
        u"xorriso"_s,
        {u"-as"_s, u"mkisofs"_s, u"-quiet"_s, u"-hfsplus"_s, u"-V"_s, u"Vaelix"_s, u"-o"_s, image, path(u"content"_s)});
    if (!maker.waitForFinished(60'000) || maker.exitCode() != 0)
        qFatal("xorriso: %s", maker.readAllStandardError().constData());
    const QByteArray bytes = read(image);
    const qsizetype header = bytes.indexOf(QByteArrayView("H+\0\4", 4)); // 1024 bytes into the HFS+ volume
    return form == Form::HFS ? bytes.mid(header - 1024) : bytes;
}

Outcome tst_hdiutil::run(const QStringList &arguments) const
{
    QProcess program;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"TMPDIR"_s, path(u"tmp"_s));
    environment.insert(u"LC_ALL"_s, u"C"_s);
    program.setProcessEnvironment(environment);
    program.setWorkingDirectory(m_folder->path());
    program.start(QStringLiteral(HDIUTIL), arguments);
    if (!program.waitForFinished(60'000) || program.exitStatus() != QProcess::NormalExit)
        qFatal("hdiutil: %s", qPrintable(program.errorString()));
    return {program.exitCode(), program.readAllStandardOutput(), program.readAllStandardError()};
}

Outcome tst_hdiutil::attach(const QString &image) const
{
    return run({u"attach"_s, image, u"-nobrowse"_s, u"-noverify"_s, u"-plist"_s});
}

Outcome tst_hdiutil::detach(const QString &mountPoint, const QStringList &options) const
{
    return run(QStringList{u"detach"_s, mountPoint} + options);
}

QString tst_hdiutil::mountPoint(const QByteArray &propertyList)
{
    plist_t root = nullptr;
    plist_from_memory(propertyList.constData(), std::uint32_t(propertyList.size()), &root);
    const std::unique_ptr<void, void (*)(plist_t)> owner(root, plist_free);
    const plist_t node = plist_access_path(root, 3, "system-entities", 0, "mount-point");
    return node ? QString::fromUtf8(plist_get_string_ptr(node, nullptr)) : QString();
}

void tst_hdiutil::attachedVolumeHasTheContent_data()
{
    const auto row = columns<int, QString>("form", "name");
    row("hybrid", int(Form::Hybrid), u"update.zip"_s);
    row("HFS+", int(Form::HFS), u"update.zip"_s);
    row("name that looks like an option", int(Form::HFS), u"-o*.dmg"_s);
    row("name that is not ASCII", int(Form::HFS), u"更新 包.dmg"_s);
}

void tst_hdiutil::attachedVolumeHasTheContent()
{
    QFETCH(int, form);
    QFETCH(QString, name);
    write(u"content/Foo.app/Contents/MacOS/Foo"_s, "#!/bin/sh\n");
    QVERIFY(QFile::setPermissions(path(u"content/Foo.app/Contents/MacOS/Foo"_s),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    write(u"content/Foo.app/Contents/说明.txt"_s, "文本");
    link(u"MacOS/Foo"_s, u"content/Foo.app/Contents/Current"_s);
    write(name, makeImage(Form(form)));

    const Outcome attached = attach(name);
    QVERIFY2(attached.exitCode == 0, attached.error.constData());
    const QString volume = mountPoint(attached.output);
    QCOMPARE(QDir(volume).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{u"Foo.app"_s});
    const QString contents = volume + u"/Foo.app/Contents/"_s;
    QCOMPARE(read(contents + u"MacOS/Foo"_s), "#!/bin/sh\n");
    QVERIFY(QFileInfo(contents + u"MacOS/Foo"_s).isExecutable());
    QCOMPARE(read(contents + u"说明.txt"_s), "文本");
    QVERIFY(!QFileInfo(contents + u"说明.txt"_s).isExecutable());
    QCOMPARE(std::filesystem::read_symlink((contents + u"Current"_s).toStdString()), "MacOS/Foo");
    const auto mode = std::filesystem::status(QFileInfo(volume).path().toStdString()).permissions();
    QCOMPARE(int(mode), 0700);

    QCOMPARE(detach(volume).exitCode, 0);
    QCOMPARE(leftBehind(), QStringList());
    QVERIFY(QFile::exists(path(name)));
}

void tst_hdiutil::attachingTwiceGivesTwoVolumes()
{
    write(u"content/file"_s, "x");
    write(u"a.dmg"_s, makeImage(Form::HFS));
    const QString first = mountPoint(attach(u"a.dmg"_s).output);
    const QString second = mountPoint(attach(u"a.dmg"_s).output);
    QVERIFY(first != second);
    QCOMPARE(detach(first, {u"-quiet"_s, u"-force"_s}).exitCode, 0);
    QCOMPARE(read(second + u"/file"_s), "x");
    QVERIFY(detach(first).exitCode != 0); // there is nothing any more
    QCOMPARE(detach(second).exitCode, 0);
    QCOMPARE(leftBehind(), QStringList());
}

void tst_hdiutil::refusedImage_data()
{
    const auto row = columns<QByteArray>("image");
    init();
    write(u"content/file"_s, QByteArray(300'000, 'x'));
    const QByteArray hybrid = makeImage(Form::Hybrid);
    const QByteArray volume = makeImage(Form::HFS);
    row("truncated hybrid", hybrid.first(hybrid.size() / 2));
    row("truncated volume", volume.first(100'000));
    row("only its beginning", hybrid.first(4096));
    row("empty", "");
    row("text", QByteArray(100'000, 'x'));
    QProcess packer;
    packer.setWorkingDirectory(m_folder->path());
    packer.start(u"7z"_s, {u"a"_s, u"a.zip"_s, u"content"_s});
    QVERIFY(packer.waitForFinished());
    row("archive that is no image", read(u"a.zip"_s));
}

void tst_hdiutil::refusedImage()
{
    QFETCH(QByteArray, image);
    write(u"a.dmg"_s, image);
    for (const auto &name : {u"a.dmg"_s, u"none.dmg"_s, u"content"_s}) {
        const Outcome attached = attach(name);
        QCOMPARE(attached.exitCode, 1);
        QCOMPARE(attached.output, "");
        QVERIFY2(attached.error.contains("hdiutil: "), attached.error.constData());
        QCOMPARE(leftBehind(), QStringList());
    }
}

void tst_hdiutil::hostileImage_data()
{
    // target: of a link with that name; a folder's else
    const auto row = columns<QString, QString>("name", "target");
    row("absolute link", u"etc"_s, u"/etc"_s);
    row("link to above the volume", u"up"_s, u".."_s);
    row("deep link to above the volume", u"a/b/up"_s, u"../../../outside"_s);
    row("link to itself", u"loop"_s, u"loop"_s);
    row("name that leads outside", u"QQ"_s, u""_s);
}

void tst_hdiutil::hostileImage()
{
    QFETCH(QString, name);
    QFETCH(QString, target);
    if (target.isEmpty())
        write(u"content/"_s + name + u"/evil.txt"_s, "evil");
    else
        link(target, u"content/"_s + name);
    for (const Form form : {Form::Hybrid, Form::HFS}) {
        QByteArray image = makeImage(form);
        image.replace("QQ", "..").replace(QByteArrayView("\0Q\0Q", 4), QByteArrayView("\0.\0.", 4));
        write(u"a.dmg"_s, image);
        const Outcome attached = attach(u"a.dmg"_s);
        QCOMPARE(attached.exitCode, 1);
        QCOMPARE(attached.output, "");
        QCOMPARE(leftBehind(), QStringList());
        QVERIFY(!QFile::exists(path(u"evil.txt"_s)));
    }
}

void tst_hdiutil::imageThatUnpacksTooLarge()
{
    // 33 names of one file of 64 MiB: a small image with more than 2 GiB in it.
    QFile file(path(u"content/0"_s));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(64 << 20));
    for (int i = 1; i <= 32; ++i)
        std::filesystem::create_hard_link(file.fileName().toStdString(), path(u"content/%1"_s.arg(i)).toStdString());
    write(u"a.dmg"_s, makeImage(Form::Hybrid));
    const Outcome attached = attach(u"a.dmg"_s);
    QCOMPARE(attached.exitCode, 1);
    QCOMPARE(attached.error, "hdiutil: 磁盘映像的内容太大\n");
    QCOMPARE(leftBehind(), QStringList());
}

void tst_hdiutil::detachRemovesOnlyWhatAttachMade()
{
    write(u"content/folder/file"_s, "x");
    write(u"a.dmg"_s, makeImage(Form::HFS));
    const QString volume = mountPoint(attach(u"a.dmg"_s).output);
    const QString folder = QFileInfo(volume).path();
    write(u"tmp/other/volume/file"_s, "x");
    write(u"tmp/vaelix-image-unmarked/volume/file"_s, "x");
    write(u"tmp/vaelix-image-open/volume/file"_s, "x"); // others may enter it
    write(u"tmp/vaelix-image-open/attached"_s, "");
    write(u"vaelix-image-elsewhere/volume/file"_s, "x");
    write(u"vaelix-image-elsewhere/attached"_s, "");
    const auto owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    QVERIFY(QFile::setPermissions(path(u"tmp/vaelix-image-unmarked"_s), owner));
    QVERIFY(QFile::setPermissions(path(u"vaelix-image-elsewhere"_s), owner));
    link(path(u"vaelix-image-elsewhere"_s), u"tmp/vaelix-image-link"_s);
    const QStringList before = leftBehind();

    const QStringList refused{folder,
                              volume + u"/folder"_s,
                              volume + u"/../../other/volume"_s,
                              volume + u"/.."_s,
                              path(u"tmp"_s),
                              path(u"tmp/other/volume"_s),
                              path(u"tmp/vaelix-image-unmarked/volume"_s),
                              path(u"tmp/vaelix-image-open/volume"_s),
                              path(u"tmp/vaelix-image-link/volume"_s),
                              path(u"vaelix-image-elsewhere/volume"_s),
                              u"volume"_s,
                              QString(),
                              u"/"_s};
    for (const QString &mountPoint : refused) {
        QVERIFY2(detach(mountPoint, {u"-quiet"_s, u"-force"_s}).exitCode == 1, qPrintable(mountPoint));
        QCOMPARE(leftBehind(), before);
    }
    QCOMPARE(read(volume + u"/folder/file"_s), "x");
    QCOMPARE(read(u"vaelix-image-elsewhere/volume/file"_s), "x");
    QCOMPARE(read(u"tmp/vaelix-image-open/volume/file"_s), "x");
    QCOMPARE(detach(volume).exitCode, 0);
    QVERIFY(!QFile::exists(folder));
}

void tst_hdiutil::callerThatGoes_data()
{
    // When the caller goes, and how.
    const auto row = columns<QByteArray, int>("moment", "signal");
    row("window closed while listing", "l", 0);
    row("window closed while unpacking", "x", 0);
    row("window closed before the answer", "", 0);
    row("terminated while unpacking", "x", SIGTERM);
    row("hung up on while unpacking", "x", SIGHUP);
}

void tst_hdiutil::callerThatGoes()
{
    QFETCH(QByteArray, moment);
    QFETCH(int, signal);
    write(u"content/file"_s, QByteArray(300'000, 'x'));
    write(u"a.dmg"_s, makeImage(Form::HFS));
    // Does its work, tells that it is done, and then goes on for ever when the caller is to go meanwhile.
    write(u"bin/7z"_s,
          "#!/bin/bash\ntrap '' PIPE TERM HUP\nPATH=${PATH#*:}\n7z \"$@\" || exit\n[ \"$1\" = '" + moment
              + "' ] || exit 0\necho $$ > '" + path(u"7z.tmp"_s).toUtf8() + "'\nmv '" + path(u"7z.tmp"_s).toUtf8()
              + "' '" + path(u"7z"_s).toUtf8() + "'\nwhile :; do sleep 0.01; done\n");
    QVERIFY(QFile::setPermissions(path(u"bin/7z"_s), QFile::ReadOwner | QFile::ExeOwner));
    int answer[2];
    QCOMPARE(::pipe2(answer, O_CLOEXEC), 0);
    FileDescriptor reader(answer[0]);
    FileDescriptor writer(answer[1]);
    QProcess program;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"TMPDIR"_s, path(u"tmp"_s));
    environment.insert(u"PATH"_s, path(u"bin"_s) + u':' + environment.value(u"PATH"_s));
    program.setProcessEnvironment(environment);
    program.setChildProcessModifier([output = writer.get()] { ::dup2(output, STDOUT_FILENO); });
    if (moment.isEmpty())
        reader = FileDescriptor();
    program.start(QStringLiteral(HDIUTIL),
                  {u"attach"_s, path(u"a.dmg"_s), u"-nobrowse"_s, u"-noverify"_s, u"-plist"_s});
    QVERIFY(program.waitForStarted());
    if (!moment.isEmpty()) {
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path(u"7z"_s)), 60'000);
        QCOMPARE(leftBehind().isEmpty(), moment == "l");
        if (signal != 0)
            ::kill(pid_t(program.processId()), signal);
        else
            reader = FileDescriptor();
    }
    QVERIFY(program.waitForFinished(60'000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 1);
    QCOMPARE(leftBehind(), QStringList());
    const QByteArray number = read(u"7z"_s).trimmed();
    QVERIFY(number.isEmpty() || ::kill(number.toInt(), 0) != 0);
}

void tst_hdiutil::wrongUse_data()
{
    const auto row = columns<QStringList>("arguments");
    const auto words = [](const char *text) { return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts); };
    for (const char *line : {"", "attach", "attach a.dmg", "attach a.dmg -plist", "detach", "detach DIR",
                             "detach DIR -force", "eject DIR -quiet", "attach a.dmg -nobrowse -noverify -plist -x"})
        row(*line ? line : "nothing", words(line));
}

void tst_hdiutil::wrongUse()
{
    QFETCH(QStringList, arguments);
    const Outcome outcome = run(arguments);
    QCOMPARE(outcome.exitCode, 64);
    QCOMPARE(outcome.output, "");
    QVERIFY(outcome.error.startsWith("用法："));
}

QTEST_GUILESS_MAIN(tst_hdiutil)
#include "tst_hdiutil.moc"
