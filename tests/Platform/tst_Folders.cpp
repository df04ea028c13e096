// Folders: which may be removed, what is left of a copy, and for what there is room.

#include "Platform/FileLock.h"
#include "Platform/FolderContent.h"
#include "Platform/FolderCopy.h"
#include "Platform/PrivateFolder.h"
#include "Support/SmallDisk.h"
#include "Support/Table.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class tst_Folders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void privateFolderIsOnlyTheUsers();
    void privateFolderIsRemovedWhole();
    void whatBearsThePrivateFoldersNameLater_data();
    void whatBearsThePrivateFoldersNameLater();
    void removalStaysInTheFolder();
    void partOfACopy_data();
    void partOfACopy();
    void roomOnASmallDisk_data();
    void roomOnASmallDisk();
    void roomForFilesOnASmallDisk();
    void lockIsTheUsersAlone();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    void write(const QString &file, const QByteArray &content) const;
    QStringList below(const QString &name) const;

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_Folders::write(const QString &file, const QByteArray &content) const
{
    QDir().mkpath(QFileInfo(path(file)).path());
    QFile written(path(file));
    QVERIFY(written.open(QIODevice::WriteOnly));
    QCOMPARE(written.write(content), content.size());
}

QStringList tst_Folders::below(const QString &name) const
{
    return QDir(path(name)).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

void tst_Folders::privateFolderIsOnlyTheUsers()
{
    for (const mode_t mask : {0000, 0022, 0777}) {
        const mode_t former = ::umask(mask);
        const QString name = path(u"a%1"_s.arg(mask));
        const auto folder = PrivateFolder::make(name);
        ::umask(former);
        QVERIFY2(folder, qPrintable(folder ? u""_s : folder.error().description));
        struct stat state{};
        QCOMPARE(::lstat(qPrintable(name), &state), 0);
        QCOMPARE(state.st_mode, mode_t(S_IFDIR | 0700));
        QCOMPARE(folder->identity, (FolderIdentity{state.st_dev, state.st_ino}));
    }
    QVERIFY(QFile::link(path(u"nowhere"_s), path(u"link"_s)));
    write(u"file"_s, "x");
    for (const QString &taken : {u"link"_s, u"file"_s, u"a0"_s, u"file/below"_s})
        QVERIFY2(!PrivateFolder::make(path(taken)), qPrintable(taken));
    QVERIFY(!QFileInfo::exists(path(u"nowhere"_s)));
}

void tst_Folders::privateFolderIsRemovedWhole()
{
    const auto folder = PrivateFolder::make(path(u"above/a"_s));
    QVERIFY(folder);
    write(u"above/a/b/c/file"_s, "x");
    write(u"above/a/.hidden"_s, "x");
    write(u"above/a/closed/file"_s, "x");
    QVERIFY(QDir().mkpath(path(u"above/a/empty"_s)));
    QCOMPARE(::chmod(qPrintable(path(u"above/a/closed"_s)), 0), 0); // as an image may have it
    QVERIFY(folder->remove());
    QCOMPARE(below(u"above"_s), QStringList());
}

void tst_Folders::whatBearsThePrivateFoldersNameLater_data()
{
    // What is done once the folder has been made at "a"; "other" holds a file that is to stay.
    const auto row = columns<std::function<void(QDir)>>("change");
    const auto replaced = [](const std::function<void(QDir)> &by) {
        return [by](QDir dir) {
            dir.rename(u"a"_s, u"former"_s); // whose number is not given anew that way
            by(dir);
        };
    };
    row("a link to another folder",
        replaced([](QDir dir) { QFile::link(dir.filePath(u"other"_s), dir.filePath(u"a"_s)); }));
    row("another folder", replaced([](QDir dir) { dir.rename(u"other"_s, u"a"_s); }));
    row("a file", replaced([](QDir dir) { QFile::copy(dir.filePath(u"other/file"_s), dir.filePath(u"a"_s)); }));
    row("opened to others", [](QDir dir) { ::chmod(qPrintable(dir.filePath(u"a"_s)), 0755); });
    if (::geteuid() == 0)
        row("given to another user",
            [](QDir dir) { QCOMPARE(::chown(qPrintable(dir.filePath(u"a"_s)), 65534, 65534), 0); });
}

void tst_Folders::whatBearsThePrivateFoldersNameLater()
{
    using Change = std::function<void(QDir)>;
    QFETCH(Change, change);
    write(u"other/file"_s, "x");
    QCOMPARE(::chmod(qPrintable(path(u"other"_s)), 0700), 0);
    const auto folder = PrivateFolder::make(path(u"a"_s));
    QVERIFY(folder);
    write(u"a/file"_s, "x");
    change(QDir(m_folder->path()));
    const QStringList before = below(u"."_s);
    QVERIFY(!folder->remove());
    QCOMPARE(below(u"."_s), before);
    for (const QString &name : before)
        QVERIFY2(!QFileInfo(path(name)).isDir() || below(name) == QStringList(u"file"_s), qPrintable(name));
}

void tst_Folders::removalStaysInTheFolder()
{
    write(u"other/file"_s, "x");
    write(u"a/b/file"_s, "x");
    QVERIFY(QFile::link(path(u"other"_s), path(u"a/b/link"_s)));
    QVERIFY(QFile::link(u".."_s, path(u"a/b/up"_s)));
    QVERIFY(QFile::link(path(u"other"_s), path(u"link"_s)));
    write(u"a/disk/x"_s, "x");
    const SmallDisk disk(path(u"a/disk"_s), 1 << 20);
    write(u"a/disk/file"_s, "x");

    QVERIFY(!removeFolder(path(u"link"_s)));
    QVERIFY(!removeFolder(path(u"other/file"_s)));
    QVERIFY(removeFolder(path(u"nowhere"_s)));
    QVERIFY(!removeFolder(path(u"a"_s))); // a disk is in it
    QCOMPARE(below(u"a"_s), QStringList(u"disk"_s));
    QCOMPARE(below(u"a/disk"_s), QStringList(u"file"_s));
    QCOMPARE(below(u"other"_s), QStringList(u"file"_s));
    QCOMPARE(below(u"."_s), (QStringList{u"a"_s, u"link"_s, u"other"_s}));
}

void tst_Folders::partOfACopy_data()
{
    // What is done to a copy of four files.
    const auto row = columns<std::function<void(QDir)>, bool>("change", "isPart");
    const auto content = [](const QString &name, const QByteArray &text) {
        return [=](QDir dir) {
            QFile file(dir.filePath(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
            QCOMPARE(file.write(text), text.size());
        };
    };
    row("whole", [](const QDir &) { }, true);
    row(
        "no file",
        [](QDir dir) {
            dir.removeRecursively();
            dir.mkpath(u"."_s);
        },
        true);
    row("not there", [](QDir dir) { dir.removeRecursively(); }, true);
    row("a file fewer", [](QDir dir) { dir.remove(u"b/2"_s); }, true);
    row("a file cut short", content(u"b/2"_s, "t"), true);
    row("a file empty", content(u"b/2"_s, ""), true);
    row("a file grown", content(u"b/2"_s, "two-"), false);
    row("a file changed", content(u"b/2"_s, "owt"), false);
    row("a file more", content(u"b/5"_s, ""), false);
    row(
        "two files cut short",
        [=](QDir dir) {
            content(u"b/2"_s, "t")(dir);
            content(u"1"_s, "o")(dir);
        },
        false);
    row(
        "a file in its place",
        [](QDir dir) {
            dir.removeRecursively();
            QFile::copy(u"/bin/true"_s, dir.path());
        },
        false);
    row(
        "a link to nothing in its place",
        [](QDir dir) {
            dir.removeRecursively();
            QFile::link(u"nowhere"_s, dir.path());
        },
        false);
}

void tst_Folders::partOfACopy()
{
    using Change = std::function<void(QDir)>;
    QFETCH(Change, change);
    write(u"whole/1"_s, "one");
    write(u"whole/b/2"_s, "two");
    write(u"whole/b/c/3"_s, "three");
    write(u"whole/4"_s, "");
    const auto whole = digestOf(path(u"whole"_s));
    QVERIFY(whole);
    QCOMPARE(whole->size(), 4);
    const auto copied = QCoro::waitFor(copyFolder(path(u"whole"_s), path(u"copy"_s)));
    QVERIFY(copied);
    change(QDir(path(u"copy"_s)));
    QTEST(isPartOf(path(u"copy"_s), *whole), "isPart");
}

void tst_Folders::roomOnASmallDisk_data()
{
    const auto row = columns<QList<int>, bool>("sizes", "hasRoom"); // of the files; the disk has 256 blocks of 4 KiB
    row("fits", {800 * 1024}, true);
    row("too large", {1100 * 1024}, false);
    row("many small files fit", QList<int>(200, 1), true);
    row("many small files do not", QList<int>(300, 1), false);
}

void tst_Folders::roomOnASmallDisk()
{
    QFETCH(QList<int>, sizes);
    QFETCH(bool, hasRoom);
    for (qsizetype i = 0; i < sizes.size(); ++i)
        write(u"a/%1"_s.arg(i), QByteArray(sizes[i], 'x'));
    QVERIFY(QDir().mkpath(path(u"disk"_s)));
    const SmallDisk disk(path(u"disk"_s), 1 << 20);
    QCOMPARE(hasRoomFor(path(u"a"_s), path(u"disk"_s)), hasRoom);
    // What it says is so.
    const auto copied = QCoro::waitFor(copyFolder(path(u"a"_s), path(u"disk/a"_s)));
    QCOMPARE(copied.has_value(), hasRoom);
    if (!copied)
        QVERIFY2(copied.error().description.contains(u"磁盘空间不足"_s), qPrintable(copied.error().description));
    else
        QVERIFY(extentOf(path(u"disk/a"_s)) == extentOf(path(u"a"_s)));
}

void tst_Folders::roomForFilesOnASmallDisk()
{
    for (int i = 0; i < 30; ++i)
        write(u"a/%1"_s.arg(i), "");
    QVERIFY(QDir().mkpath(path(u"disk"_s)));
    const SmallDisk disk(path(u"disk"_s), 1 << 20, "nr_inodes=20");
    QVERIFY(!hasRoomFor(path(u"a"_s), path(u"disk"_s)));
    QVERIFY(!hasRoomFor(path(u"nowhere"_s), path(u"."_s)));
    QVERIFY(!hasRoomFor(path(u"a"_s), path(u"nowhere"_s)));
}

void tst_Folders::lockIsTheUsersAlone()
{
    const QString file = path(u"above/lock"_s);
    const auto first = FileLock::take(file);
    QVERIFY(first);
    const auto second = FileLock::take(file, std::chrono::milliseconds(30));
    QVERIFY(!second && second.error() == std::errc::operation_would_block);
    struct stat state{};
    QCOMPARE(::stat(qPrintable(file), &state), 0);
    QCOMPARE(state.st_mode, mode_t(S_IFREG | 0600));

    QVERIFY(QFile::link(file, path(u"link"_s)));
    const auto linked = FileLock::take(path(u"link"_s));
    QVERIFY(!linked && linked.error() == std::errc::too_many_symbolic_link_levels);
    const auto misplaced = FileLock::take(file + u"/below"_s);
    QVERIFY(!misplaced && misplaced.error() != std::errc::operation_would_block);
}

int main(int argc, char *argv[])
{
    SmallDisk::keepMountsPrivate();
    QCoreApplication application(argc, argv);
    tst_Folders test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_Folders.moc"
