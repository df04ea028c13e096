#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QImage>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <memory>
#include <plist/plist.h>
#include <unistd.h>

namespace {

struct Outcome {
    int exitCode;
    QByteArray output;
    QByteArray error;
};

/// Runs a program to its end, without a display.
Outcome run(const QString &program, const QStringList &arguments, const QString &temporaryFolder = {})
{
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    if (!temporaryFolder.isEmpty())
        environment.insert(QStringLiteral("TMPDIR"), temporaryFolder);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(120'000) || process.exitStatus() != QProcess::NormalExit)
        qFatal("%s: %s", qPrintable(program), qPrintable(process.errorString()));
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

/// What each path under the folder holds: for a file its digest, and whether it can be run.
QMap<QString, QByteArray> contentOf(const QString &folder)
{
    QMap<QString, QByteArray> content;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        QFile file(entries.next());
        QCryptographicHash hash(QCryptographicHash::Sha1);
        const bool isRead = entries.fileInfo().isFile() && file.open(QIODevice::ReadOnly) && hash.addData(&file);
        content[QDir(folder).relativeFilePath(file.fileName())] =
            (isRead ? hash.result().toHex() : "folder") + (entries.fileInfo().isExecutable() ? " x" : "");
    }
    return content;
}

void write(const QString &file, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(file).path());
    QFile written(file);
    if (!written.open(QIODevice::WriteOnly) || written.write(content) != content.size())
        qFatal("%s: %s", qPrintable(file), qPrintable(written.errorString()));
}

} // namespace

/// Installs the build into a scratch prefix and looks at what lies there.
class tst_Packaging : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void checkerFindsNoFault_data();
    void checkerFindsNoFault();
    void iconHasItsSize_data();
    void iconHasItsSize();
    void commandFindsItsBundleThroughTheLink();
    void bundleNeedsNoBuildFolder();
    void imageHoldsTheBundleAndNothingElse();
    void imageMakerRefuses_data();
    void imageMakerRefuses();

private:
    QString path(const QString &name) const { return m_prefix.filePath(name); }
    QString bundle() const { return path(QStringLiteral("lib/vaelix/Vaelix.app")); }

    QTemporaryDir m_prefix;
};

void tst_Packaging::initTestCase()
{
    const Outcome installed = run(
        QStringLiteral(CMAKE),
        {QStringLiteral("--install"), QStringLiteral(VAELIX_BUILD_DIR), QStringLiteral("--prefix"), m_prefix.path()});
    QVERIFY2(installed.exitCode == 0, installed.error.constData());
}

void tst_Packaging::checkerFindsNoFault_data()
{
    QTest::addColumn<QString>("checker");
    QTest::addColumn<QStringList>("arguments");
    const QString desktopCheck = QStringLiteral("desktop-file-validate");
    QTest::newRow("installed desktop entry")
        << desktopCheck << QStringList{path(QStringLiteral("share/applications/com.vaelix.app.desktop"))};
    QTest::newRow("desktop entry of the build")
        << desktopCheck << QStringList{QStringLiteral(VAELIX_BUILD_DIR "/share/applications/com.vaelix.app.desktop")};
    QTest::newRow("metainfo") << QStringLiteral("appstreamcli")
                              << QStringList{QStringLiteral("validate"), QStringLiteral("--no-net"),
                                             path(QStringLiteral("share/metainfo/com.vaelix.app.metainfo.xml"))};
    QTest::newRow("manual") << QStringLiteral("gzip")
                            << QStringList{QStringLiteral("-t"), path(QStringLiteral("share/man/man1/vaelix.1.gz"))};
}

void tst_Packaging::checkerFindsNoFault()
{
    QFETCH(QString, checker);
    QFETCH(QStringList, arguments);
    const Outcome checked = run(checker, arguments);
    QVERIFY2(checked.exitCode == 0, (checked.output + checked.error).constData());
}

void tst_Packaging::iconHasItsSize_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256, 512})
        QTest::addRow("%d", size) << size;
}

void tst_Packaging::iconHasItsSize()
{
    QFETCH(int, size);
    const QImage icon(path(QStringLiteral("share/icons/hicolor/%1x%1/apps/com.vaelix.app.png").arg(size)));
    QCOMPARE(icon.size(), QSize(size, size));
    QCOMPARE(icon.pixelColor(0, 0).alpha(), 0); // works on any background
    QCOMPARE(icon.pixelColor(size / 2, size * 7 / 8 - 1).alpha(), 255); // and is drawn
}

void tst_Packaging::commandFindsItsBundleThroughTheLink()
{
    const Outcome version = run(path(QStringLiteral("bin/vaelix")), {QStringLiteral("--version")});
    QCOMPARE(version.output, "Vaelix " VAELIX_VERSION " (" VAELIX_BUILD_NUMBER ")\n");
    QCOMPARE(version.error, "");
}

void tst_Packaging::bundleNeedsNoBuildFolder()
{
    for (const auto &program : {QStringLiteral("MacOS/Vaelix"), QStringLiteral("Helpers/hdiutil")}) {
        const Outcome read = run(
            QStringLiteral("readelf"),
            {QStringLiteral("--dynamic"), QStringLiteral("--wide"), bundle() + QStringLiteral("/Contents/") + program});
        QVERIFY2(read.output.contains("(NEEDED)"), read.error.constData());
        QVERIFY2(!read.output.contains("PATH)"), read.output.constData()); // RPATH or RUNPATH
    }
}

void tst_Packaging::imageHoldsTheBundleAndNothingElse()
{
    const QTemporaryDir scratch;
    const QString image = scratch.filePath(QStringLiteral("Vaelix.dmg"));
    const QString mounts = scratch.filePath(QStringLiteral("mounts"));
    QVERIFY(QDir().mkdir(mounts));
    const Outcome made = run(QStringLiteral(VAELIX_IMAGE_MAKER), {bundle(), image});
    QVERIFY2(made.exitCode == 0, made.error.constData());

    const QString hdiutil = bundle() + QStringLiteral("/Contents/Helpers/hdiutil");
    const Outcome attached = run(hdiutil,
                                 {QStringLiteral("attach"), image, QStringLiteral("-nobrowse"),
                                  QStringLiteral("-noverify"), QStringLiteral("-plist")},
                                 mounts);
    QVERIFY2(attached.exitCode == 0, attached.error.constData());
    plist_t root = nullptr;
    plist_from_memory(attached.output.constData(), std::uint32_t(attached.output.size()), &root);
    const std::unique_ptr<void, void (*)(plist_t)> owner(root, plist_free);
    const plist_t node = plist_access_path(root, 3, "system-entities", 0, "mount-point");
    QVERIFY(node);
    const QString volume = QString::fromUtf8(plist_get_string_ptr(node, nullptr));

    QCOMPARE(QDir(volume).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
             QStringList{QStringLiteral("Vaelix.app")});
    const auto content = contentOf(bundle());
    QVERIFY(content.value(QStringLiteral("Contents/MacOS/Vaelix")).endsWith(" x"));
    QCOMPARE(contentOf(volume + QStringLiteral("/Vaelix.app")), content);
    QCOMPARE(run(hdiutil, {QStringLiteral("detach"), volume, QStringLiteral("-quiet")}, mounts).exitCode, 0);
    QVERIFY(QDir(mounts).isEmpty());
}

void tst_Packaging::imageMakerRefuses_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("linkTarget"); // of a link in Contents, if any
    QTest::newRow("folder that is no bundle") << "Vaelix" << "";
    QTest::newRow("absolute link") << "Vaelix.app" << "/etc";
    QTest::newRow("link out of the bundle") << "Vaelix.app" << "../../outside";
}

void tst_Packaging::imageMakerRefuses()
{
    QFETCH(QString, name);
    QFETCH(QString, linkTarget);
    const QTemporaryDir scratch;
    const QString folder = scratch.filePath(name);
    const QString image = scratch.filePath(QStringLiteral("old.dmg"));
    write(folder + QStringLiteral("/Contents/Info.plist"), "<plist/>");
    write(image, "the image before");
    if (!linkTarget.isEmpty())
        QCOMPARE(::symlink(qPrintable(linkTarget), qPrintable(folder + QStringLiteral("/Contents/link"))), 0);

    const Outcome refused = run(QStringLiteral(VAELIX_IMAGE_MAKER), {folder, image});
    QCOMPARE(refused.exitCode, 1);
    QVERIFY(refused.error.startsWith("make_update_image: "));
    QFile before(image);
    QVERIFY(before.open(QIODevice::ReadOnly));
    QCOMPARE(before.readAll(), "the image before");
}

QTEST_GUILESS_MAIN(tst_Packaging)
#include "tst_Packaging.moc"
