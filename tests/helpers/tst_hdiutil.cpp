#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <filesystem>
#include <memory>
#include <plist/plist.h>
#include <unistd.h>

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
    void wrongUse_data();
    void wrongUse();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QStringList leftBehind() const
    {
        return QDir(path(QStringLiteral("tmp"))).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }
    QByteArray read(const QString &file) const;
    void write(const QString &file, const QByteArray &content) const;
    void link(const QString &target, const QString &name) const;
    /// Of the folder "content".
    QByteArray makeImage(Form form) const;
    Outcome run(const QStringList &arguments) const;
    Outcome attach(const QString &image) const;
    Outcome detach(const QString &mountPoint, const QStringList &options = {QStringLiteral("-quiet")}) const;
    static QString mountPoint(const QByteArray &propertyList);

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_hdiutil::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QDir folder(m_folder->path());
    QVERIFY(folder.mkdir(QStringLiteral("tmp")) && folder.mkdir(QStringLiteral("content")));
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
    const QString image = path(QStringLiteral("made.img"));
    QFile::remove(image);
    maker.start(QStringLiteral("xorriso"),
                {QStringLiteral("-as"), QStringLiteral("mkisofs"), QStringLiteral("-quiet"), QStringLiteral("-hfsplus"),
                 QStringLiteral("-V"), QStringLiteral("Vaelix"), QStringLiteral("-o"), image,
                 path(QStringLiteral("content"))});
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
    environment.insert(QStringLiteral("TMPDIR"), path(QStringLiteral("tmp")));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    program.setProcessEnvironment(environment);
    program.setWorkingDirectory(m_folder->path());
    program.start(QStringLiteral(HDIUTIL), arguments);
    if (!program.waitForFinished(60'000) || program.exitStatus() != QProcess::NormalExit)
        qFatal("hdiutil: %s", qPrintable(program.errorString()));
    return {program.exitCode(), program.readAllStandardOutput(), program.readAllStandardError()};
}

Outcome tst_hdiutil::attach(const QString &image) const
{
    return run({QStringLiteral("attach"), image, QStringLiteral("-nobrowse"), QStringLiteral("-noverify"),
                QStringLiteral("-plist")});
}

Outcome tst_hdiutil::detach(const QString &mountPoint, const QStringList &options) const
{
    return run(QStringList{QStringLiteral("detach"), mountPoint} + options);
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
    QTest::addColumn<int>("form");
    QTest::addColumn<QString>("name");
    QTest::newRow("hybrid") << int(Form::Hybrid) << "update.zip";
    QTest::newRow("HFS+") << int(Form::HFS) << "update.zip";
    QTest::newRow("name that looks like an option") << int(Form::HFS) << "-o*.dmg";
    QTest::newRow("name that is not ASCII") << int(Form::HFS) << "更新 包.dmg";
}

void tst_hdiutil::attachedVolumeHasTheContent()
{
    QFETCH(int, form);
    QFETCH(QString, name);
    write(QStringLiteral("content/Foo.app/Contents/MacOS/Foo"), "#!/bin/sh\n");
    QVERIFY(QFile::setPermissions(path(QStringLiteral("content/Foo.app/Contents/MacOS/Foo")),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    write(QStringLiteral("content/Foo.app/Contents/说明.txt"), "文本");
    link(QStringLiteral("MacOS/Foo"), QStringLiteral("content/Foo.app/Contents/Current"));
    write(name, makeImage(Form(form)));

    const Outcome attached = attach(name);
    QVERIFY2(attached.exitCode == 0, attached.error.constData());
    const QString volume = mountPoint(attached.output);
    QCOMPARE(QDir(volume).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{QStringLiteral("Foo.app")});
    const QString contents = volume + QStringLiteral("/Foo.app/Contents/");
    QCOMPARE(read(contents + QStringLiteral("MacOS/Foo")), "#!/bin/sh\n");
    QVERIFY(QFileInfo(contents + QStringLiteral("MacOS/Foo")).isExecutable());
    QCOMPARE(read(contents + QStringLiteral("说明.txt")), "文本");
    QVERIFY(!QFileInfo(contents + QStringLiteral("说明.txt")).isExecutable());
    QCOMPARE(std::filesystem::read_symlink((contents + QStringLiteral("Current")).toStdString()), "MacOS/Foo");
    const auto mode = std::filesystem::status(QFileInfo(volume).path().toStdString()).permissions();
    QCOMPARE(int(mode), 0700);

    QCOMPARE(detach(volume).exitCode, 0);
    QCOMPARE(leftBehind(), QStringList());
    QVERIFY(QFile::exists(path(name)));
}

void tst_hdiutil::attachingTwiceGivesTwoVolumes()
{
    write(QStringLiteral("content/file"), "x");
    write(QStringLiteral("a.dmg"), makeImage(Form::HFS));
    const QString first = mountPoint(attach(QStringLiteral("a.dmg")).output);
    const QString second = mountPoint(attach(QStringLiteral("a.dmg")).output);
    QVERIFY(first != second);
    QCOMPARE(detach(first, {QStringLiteral("-quiet"), QStringLiteral("-force")}).exitCode, 0);
    QCOMPARE(read(second + QStringLiteral("/file")), "x");
    QVERIFY(detach(first).exitCode != 0); // there is nothing any more
    QCOMPARE(detach(second).exitCode, 0);
    QCOMPARE(leftBehind(), QStringList());
}

void tst_hdiutil::refusedImage_data()
{
    QTest::addColumn<QByteArray>("image");
    init();
    write(QStringLiteral("content/file"), QByteArray(300'000, 'x'));
    const QByteArray hybrid = makeImage(Form::Hybrid);
    const QByteArray volume = makeImage(Form::HFS);
    QTest::newRow("truncated hybrid") << hybrid.first(hybrid.size() / 2);
    QTest::newRow("truncated volume") << volume.first(100'000);
    QTest::newRow("only its beginning") << hybrid.first(4096);
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("text") << QByteArray(100'000, 'x');
    QProcess packer;
    packer.setWorkingDirectory(m_folder->path());
    packer.start(QStringLiteral("7z"), {QStringLiteral("a"), QStringLiteral("a.zip"), QStringLiteral("content")});
    QVERIFY(packer.waitForFinished());
    QTest::newRow("archive that is no image") << read(QStringLiteral("a.zip"));
}

void tst_hdiutil::refusedImage()
{
    QFETCH(QByteArray, image);
    write(QStringLiteral("a.dmg"), image);
    for (const auto &name : {QStringLiteral("a.dmg"), QStringLiteral("none.dmg"), QStringLiteral("content")}) {
        const Outcome attached = attach(name);
        QCOMPARE(attached.exitCode, 1);
        QCOMPARE(attached.output, "");
        QVERIFY2(attached.error.contains("hdiutil: "), attached.error.constData());
        QCOMPARE(leftBehind(), QStringList());
    }
}

void tst_hdiutil::hostileImage_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("target"); // of a link with that name; a folder's else
    QTest::newRow("absolute link") << "etc" << "/etc";
    QTest::newRow("link to above the volume") << "up" << "..";
    QTest::newRow("deep link to above the volume") << "a/b/up" << "../../../outside";
    QTest::newRow("link to itself") << "loop" << "loop";
    QTest::newRow("name that leads outside") << "QQ" << "";
}

void tst_hdiutil::hostileImage()
{
    QFETCH(QString, name);
    QFETCH(QString, target);
    if (target.isEmpty())
        write(QStringLiteral("content/") + name + QStringLiteral("/evil.txt"), "evil");
    else
        link(target, QStringLiteral("content/") + name);
    for (const Form form : {Form::Hybrid, Form::HFS}) {
        QByteArray image = makeImage(form);
        image.replace("QQ", "..").replace(QByteArrayView("\0Q\0Q", 4), QByteArrayView("\0.\0.", 4));
        write(QStringLiteral("a.dmg"), image);
        const Outcome attached = attach(QStringLiteral("a.dmg"));
        QCOMPARE(attached.exitCode, 1);
        QCOMPARE(attached.output, "");
        QCOMPARE(leftBehind(), QStringList());
        QVERIFY(!QFile::exists(path(QStringLiteral("evil.txt"))));
    }
}

void tst_hdiutil::imageThatUnpacksTooLarge()
{
    // 33 names of one file of 64 MiB: a small image with more than 2 GiB in it.
    QFile file(path(QStringLiteral("content/0")));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(64 << 20));
    for (int i = 1; i <= 32; ++i)
        std::filesystem::create_hard_link(file.fileName().toStdString(),
                                          path(QStringLiteral("content/%1").arg(i)).toStdString());
    write(QStringLiteral("a.dmg"), makeImage(Form::Hybrid));
    const Outcome attached = attach(QStringLiteral("a.dmg"));
    QCOMPARE(attached.exitCode, 1);
    QCOMPARE(attached.error, "hdiutil: 磁盘映像的内容太大\n");
    QCOMPARE(leftBehind(), QStringList());
}

void tst_hdiutil::detachRemovesOnlyWhatAttachMade()
{
    write(QStringLiteral("content/folder/file"), "x");
    write(QStringLiteral("a.dmg"), makeImage(Form::HFS));
    const QString volume = mountPoint(attach(QStringLiteral("a.dmg")).output);
    const QString folder = QFileInfo(volume).path();
    write(QStringLiteral("tmp/other/volume/file"), "x");
    write(QStringLiteral("tmp/vaelix-image-unmarked/volume/file"), "x");
    write(QStringLiteral("tmp/vaelix-image-open/volume/file"), "x"); // others may enter it
    write(QStringLiteral("tmp/vaelix-image-open/attached"), "");
    write(QStringLiteral("vaelix-image-elsewhere/volume/file"), "x");
    write(QStringLiteral("vaelix-image-elsewhere/attached"), "");
    const auto owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    QVERIFY(QFile::setPermissions(path(QStringLiteral("tmp/vaelix-image-unmarked")), owner));
    QVERIFY(QFile::setPermissions(path(QStringLiteral("vaelix-image-elsewhere")), owner));
    link(path(QStringLiteral("vaelix-image-elsewhere")), QStringLiteral("tmp/vaelix-image-link"));
    const QStringList before = leftBehind();

    const QStringList refused{folder,
                              volume + QStringLiteral("/folder"),
                              volume + QStringLiteral("/../../other/volume"),
                              volume + QStringLiteral("/.."),
                              path(QStringLiteral("tmp")),
                              path(QStringLiteral("tmp/other/volume")),
                              path(QStringLiteral("tmp/vaelix-image-unmarked/volume")),
                              path(QStringLiteral("tmp/vaelix-image-open/volume")),
                              path(QStringLiteral("tmp/vaelix-image-link/volume")),
                              path(QStringLiteral("vaelix-image-elsewhere/volume")),
                              QStringLiteral("volume"),
                              QString(),
                              QStringLiteral("/")};
    for (const QString &mountPoint : refused) {
        QVERIFY2(detach(mountPoint, {QStringLiteral("-quiet"), QStringLiteral("-force")}).exitCode == 1,
                 qPrintable(mountPoint));
        QCOMPARE(leftBehind(), before);
    }
    QCOMPARE(read(volume + QStringLiteral("/folder/file")), "x");
    QCOMPARE(read(QStringLiteral("vaelix-image-elsewhere/volume/file")), "x");
    QCOMPARE(read(QStringLiteral("tmp/vaelix-image-open/volume/file")), "x");
    QCOMPARE(detach(volume).exitCode, 0);
    QVERIFY(!QFile::exists(folder));
}

void tst_hdiutil::wrongUse_data()
{
    QTest::addColumn<QStringList>("arguments");
    const auto words = [](const char *text) { return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts); };
    for (const char *line : {"", "attach", "attach a.dmg", "attach a.dmg -plist", "detach", "detach DIR",
                             "detach DIR -force", "eject DIR -quiet", "attach a.dmg -nobrowse -noverify -plist -x"})
        QTest::newRow(*line ? line : "nothing") << words(line);
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
