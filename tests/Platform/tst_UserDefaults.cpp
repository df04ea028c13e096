#include "Platform/FileLock.h"
#include "Platform/UserDefaults.h"
#include "Support/Scratch.h"
#include "Support/SmallDisk.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString settings = u".config/com.vaelix.app.json"_s;

} // namespace

class tst_UserDefaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void valuesKeepTheirType();
    void changeOfAnotherProcessStays();
    void changesAreCountedUnderTheLock();
    void windowGoesOnWhileAnotherHoldsTheLock();
    void damagedFilesAreAllKept();
    void unreadableFileIsNotReplaced();
    void fullDiskKeepsTheOldFileAndIsToldOnce();
};

void tst_UserDefaults::valuesKeepTheirType()
{
    Scratch scratch;
    const QByteArray binary("\x00\xff{", 3);
    scratch.defaults.setData(u"data"_s, binary);
    scratch.defaults.setText(u"text"_s, u"文本"_s);
    scratch.defaults.setTrue(u"flag"_s, true);
    QCOMPARE(scratch.defaults.text(u"text"_s), u"文本"_s); // before it is in the file, too
    scratch.defaults.flush();
    const UserDefaults again(scratch.path(settings));
    QCOMPARE(again.data(u"data"_s), binary);
    QCOMPARE(again.text(u"text"_s), u"文本"_s);
    QVERIFY(again.isTrue(u"flag"_s));
    QVERIFY(!again.data(u"text"_s) && !again.text(u"data"_s) && !again.isTrue(u"text"_s));
    QVERIFY(!again.data(u"missing"_s) && !again.text(u"missing"_s) && !again.isTrue(u"missing"_s));
    const auto permissions = QFile::permissions(scratch.path(settings));
    QCOMPARE(permissions & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
}

void tst_UserDefaults::changeOfAnotherProcessStays()
{
    Scratch scratch;
    UserDefaults other(scratch.path(settings));
    scratch.defaults.setTrue(u"flag"_s, true);
    scratch.defaults.flush();
    other.setText(u"theirs"_s, u"x"_s);
    other.flush();
    scratch.defaults.setTrue(u"flag"_s, false);
    scratch.defaults.flush();
    QCOMPARE(other.text(u"theirs"_s), u"x"_s);
    QVERIFY(!other.isTrue(u"flag"_s));
}

void tst_UserDefaults::changesAreCountedUnderTheLock()
{
    Scratch scratch;
    std::vector<std::unique_ptr<UserDefaults>> writers;
    for (int number = 0; number < 8; ++number)
        writers.push_back(std::make_unique<UserDefaults>(scratch.path(settings)));
    for (int round = 0; round < 10; ++round)
        for (const auto &writer : writers)
            writer->changeData(u"count"_s, [](const std::optional<QByteArray> &count) {
                return QByteArray::number(count.value_or("0").toInt() + 1);
            });
    for (const auto &writer : writers)
        writer->flush();
    QCOMPARE(scratch.defaults.data(u"count"_s), "80");
}

void tst_UserDefaults::windowGoesOnWhileAnotherHoldsTheLock()
{
    Scratch scratch;
    auto lock = FileLock::take(scratch.path(settings + u".lock"_s), 0ms);
    QVERIFY(lock);
    QElapsedTimer timer;
    timer.start();
    scratch.defaults.setText(u"key"_s, u"x"_s);
    QVERIFY(timer.elapsed() < 1000);
    QCOMPARE(scratch.defaults.text(u"key"_s), u"x"_s);
    QVERIFY(!QFile::exists(scratch.path(settings)));
    { // let go of it
        const auto released = std::move(lock);
    }
    QTRY_COMPARE(UserDefaults(scratch.path(settings)).text(u"key"_s), u"x"_s);
}

void tst_UserDefaults::damagedFilesAreAllKept()
{
    Scratch scratch;
    for (const QByteArray damaged : {"{\"first\": ", "[2]", "third"}) {
        scratch.write(settings, damaged);
        QVERIFY(!scratch.defaults.text(u"first"_s));
        scratch.defaults.setText(u"new"_s, QString::fromUtf8(damaged));
        scratch.defaults.flush();
        QCOMPARE(scratch.defaults.text(u"new"_s), QString::fromUtf8(damaged));
    }
    QCOMPARE(scratch.read(settings + u".damaged"_s), "{\"first\": ");
    QCOMPARE(scratch.read(settings + u".damaged-2"_s), "[2]");
    QCOMPARE(scratch.read(settings + u".damaged-3"_s), "third");
}

void tst_UserDefaults::unreadableFileIsNotReplaced()
{
    Scratch scratch;
    // Root may read everything but this.
    QVERIFY(QDir(scratch.home.path()).mkpath(settings));
    scratch.defaults.setText(u"key"_s, u"x"_s);
    scratch.defaults.flush();
    QVERIFY(QFileInfo(scratch.path(settings)).isDir());
    QCOMPARE(scratch.defaults.problem(),
             u"设置没有保存：无法读取 %1：该位置是一个文件夹"_s.arg(scratch.path(settings)));
    QCOMPARE(scratch.defaults.text(u"key"_s), u"x"_s); // in this run
}

void tst_UserDefaults::fullDiskKeepsTheOldFileAndIsToldOnce()
{
    const QTemporaryDir folder;
    const SmallDisk disk(folder.path(), 64 * 1024);
    const QString file = folder.filePath(u"settings.json"_s);
    UserDefaults defaults(file);
    QSignalSpy told(&defaults, &UserDefaults::problemChanged);
    defaults.setText(u"old"_s, u"precious"_s);
    defaults.flush();
    QFile stored(file);
    QVERIFY(stored.open(QIODevice::ReadOnly));
    const QByteArray before = stored.readAll();
    QVERIFY(before.contains("precious"));

    disk.fill();
    defaults.setText(u"new"_s, u"x"_s);
    defaults.flush();
    defaults.setText(u"newer"_s, u"y"_s);
    defaults.flush();
    QCOMPARE(told.count(), 1);
    QVERIFY2(defaults.problem().endsWith(u"磁盘空间不足"_s), qUtf8Printable(defaults.problem()));
    QVERIFY(stored.seek(0));
    QCOMPARE(stored.readAll(), before);
    QCOMPARE(UserDefaults(file).text(u"old"_s), u"precious"_s);
    QCOMPARE(QDir(QFileInfo(file).path()).entryList(QDir::Files),
             (QStringList{u"filler"_s, u"settings.json"_s, u"settings.json.lock"_s}));

    disk.clear();
    defaults.setText(u"newest"_s, u"z"_s);
    defaults.flush();
    QVERIFY(defaults.problem().isEmpty());
    const UserDefaults again(file);
    QCOMPARE(again.text(u"old"_s).value() + again.text(u"new"_s).value() + again.text(u"newest"_s).value(),
             u"preciousxz"_s);
}

int main(int argc, char *argv[])
{
    SmallDisk::keepMountsPrivate();
    const QCoreApplication application(argc, argv);
    tst_UserDefaults test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_UserDefaults.moc"
