#include "Platform/AtomicFile.h"
#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QDir>
#include <QFile>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

mode_t modeOf(const QString &path)
{
    struct stat status{};
    return ::stat(QFile::encodeName(path), &status) == 0 ? status.st_mode & 07777 : 0;
}

bool isLink(const QString &path)
{
    struct stat status{};
    return ::lstat(QFile::encodeName(path), &status) == 0 && S_ISLNK(status.st_mode);
}

constexpr uid_t somebody = 65534;

} // namespace

class tst_AtomicFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void permissions_data();
    void permissions();
    void links_data();
    void links();
    void readingTellsAbsenceFromFailure();
};

void tst_AtomicFile::permissions_data()
{
    const auto row = columns<int, int>("before", "after");
    row("new", 0, 0600);
    row("private", 0600, 0600);
    row("for everybody", 0644, 0644);
    row("program", 0755, 0755);
}

void tst_AtomicFile::permissions()
{
    QFETCH(int, before);
    const Scratch scratch;
    const QString path = scratch.path(u"a/b/file"_s);
    const mode_t mask = ::umask(0);
    if (before != 0) {
        scratch.write(u"a/b/file"_s, "old");
        QCOMPARE(::chmod(QFile::encodeName(path), mode_t(before)), 0);
    }
    const auto written = writeAtomically(path, "new");
    ::umask(mask);
    QVERIFY(written);
    QCOMPARE(scratch.read(u"a/b/file"_s), "new");
    QTEST(int(modeOf(path)), "after");
    QCOMPARE(QDir(scratch.path(u"a/b"_s)).entryList(QDir::Files), QStringList{u"file"_s});
}

void tst_AtomicFile::links_data()
{
    // Owners of the link and of what it points to; whether the link is followed.
    const auto row = columns<QString, uint, uint, bool>("target", "linkOwner", "targetOwner", "isFollowed");
    row("own link to an own file", u"../real/file"_s, 0, 0, true);
    row("over another link", u"hop"_s, 0, 0, true);
    row("somebody's link", u"../real/file"_s, somebody, 0, false);
    row("own link to somebody's file", u"../real/file"_s, 0, somebody, false);
    row("to nothing", u"../real/missing"_s, 0, 0, false);
    row("to a folder", u"../real"_s, 0, 0, false);
    row("to itself", u"link"_s, 0, 0, false);
}

void tst_AtomicFile::links()
{
    QFETCH(QString, target);
    QFETCH(uint, linkOwner);
    QFETCH(uint, targetOwner);
    QFETCH(bool, isFollowed);
    const Scratch scratch;
    scratch.write(u"real/file"_s, "precious");
    QVERIFY(QDir(scratch.home.path()).mkdir(u"links"_s));
    const QString real = scratch.path(u"real/file"_s);
    const QString link = scratch.path(u"links/link"_s);
    QVERIFY(QFile::link(u"../real/file"_s, scratch.path(u"links/hop"_s)));
    QVERIFY(QFile::link(target, link));
    QCOMPARE(::chmod(QFile::encodeName(real), 0640), 0);
    QCOMPARE(::chown(QFile::encodeName(real), targetOwner, gid_t(-1)), 0);
    QCOMPARE(::lchown(QFile::encodeName(link), linkOwner, gid_t(-1)), 0);

    QVERIFY(writeAtomically(link, "new"));
    QCOMPARE(scratch.read(u"links/link"_s), "new");
    QCOMPARE(isLink(link), isFollowed);
    QCOMPARE(scratch.read(u"real/file"_s), isFollowed ? "new" : "precious");
    QCOMPARE(modeOf(link), mode_t(isFollowed ? 0640 : 0600));
}

void tst_AtomicFile::readingTellsAbsenceFromFailure()
{
    const Scratch scratch;
    scratch.write(u"file"_s, QByteArray(200'000, 'x'));
    QCOMPARE(readWhole(scratch.path(u"file"_s)).value(), QByteArray(200'000, 'x'));
    QVERIFY(!readWhole(scratch.path(u"missing"_s)).value());
    QCOMPARE(readWhole(scratch.home.path()).error().description,
             u"无法读取 %1：该位置是一个文件夹"_s.arg(scratch.home.path()));
}

QTEST_GUILESS_MAIN(tst_AtomicFile)
#include "tst_AtomicFile.moc"
