#include "Platform/FileHash.h"

#include "Support/Scratch.h"

#include <QCryptographicHash>
#include <QFile>
#include <QThreadPool>
#include <QTimer>
#include <sys/stat.h>

namespace {

constexpr qint64 chunkSize = 1024 * 1024;

/// The hash, or the failure's name.
QByteArray hashOf(const QString &path, const std::stop_token &stop = {})
{
    const auto hash = QCoro::waitFor(calculateSHA256(path, stop));
    if (hash)
        return hash->hexadecimal;
    switch (hash.error()) {
    case FileHashError::NotFound:
        return "not found";
    case FileHashError::ReadError:
        return "read error";
    case FileHashError::Cancelled:
        return "cancelled";
    }
    Q_UNREACHABLE();
}

QByteArray expectedHash(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
}

} // namespace

class tst_FileHash : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void knownContent_data();
    void knownContent();
    void sizesAroundTheChunk_data();
    void sizesAroundTheChunk();
    void oneThreadIsEnough();
    void unreadable();
    void announcedSizeIsNotBelieved();
    void fileThatShrinksOrVanishes();
    void cancelled();
};

void tst_FileHash::knownContent_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("hash");
    QTest::newRow("empty") << QByteArray("")
                           << QByteArray("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    QTest::newRow("abc") << QByteArray("abc")
                         << QByteArray("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    QTest::newRow("a million a") << QByteArray(1'000'000, 'a')
                                 << QByteArray("cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

void tst_FileHash::knownContent()
{
    QFETCH(QByteArray, content);
    Scratch scratch;
    scratch.write(QStringLiteral("文件"), content);
    QTEST(hashOf(scratch.path(QStringLiteral("文件"))), "hash");
}

void tst_FileHash::sizesAroundTheChunk_data()
{
    QTest::addColumn<qint64>("size");
    for (const qint64 size : {chunkSize - 1, chunkSize, chunkSize + 1, 2 * chunkSize, 5 * chunkSize + 3})
        QTest::addRow("%lld", static_cast<long long>(size)) << size;
}

void tst_FileHash::sizesAroundTheChunk()
{
    QFETCH(qint64, size);
    QByteArray content(size, Qt::Uninitialized);
    for (qint64 i = 0; i < size; ++i)
        content[i] = char(i / 251 ^ i); // no two chunks alike
    Scratch scratch;
    scratch.write(QStringLiteral("file"), content);
    QCOMPARE(hashOf(scratch.path(QStringLiteral("file"))), expectedHash(content));
}

void tst_FileHash::oneThreadIsEnough()
{
    Scratch scratch;
    const QByteArray content(3 * chunkSize, 'x');
    scratch.write(QStringLiteral("file"), content);
    QThreadPool &pool = *QThreadPool::globalInstance();
    const int threads = pool.maxThreadCount();
    pool.setMaxThreadCount(1);
    const QByteArray hash = hashOf(scratch.path(QStringLiteral("file")));
    pool.setMaxThreadCount(threads);
    QCOMPARE(hash, expectedHash(content));
}

void tst_FileHash::unreadable()
{
    Scratch scratch;
    scratch.write(QStringLiteral("file"), "x");
    QCOMPARE(hashOf(scratch.path(QStringLiteral("none"))), "not found");
    QCOMPARE(hashOf(scratch.path(QStringLiteral("file/inside"))), "not found");
    QCOMPARE(hashOf(scratch.home.path()), "read error");
    QCOMPARE(hashOf(QStringLiteral("/proc/self/mem")), "read error"); // nothing is mapped at 0
    QCOMPARE(::mkfifo(qPrintable(scratch.path(QStringLiteral("pipe"))), 0600), 0);
    QCOMPARE(hashOf(scratch.path(QStringLiteral("pipe"))), expectedHash("")); // and does not wait for a writer
}

void tst_FileHash::announcedSizeIsNotBelieved()
{
    const QString longerThanSaid = QStringLiteral("/proc/self/limits"); // size 0
    QFile file(longerThanSaid);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    QVERIFY(!content.isEmpty());
    QCOMPARE(hashOf(longerThanSaid), expectedHash(content));
}

void tst_FileHash::fileThatShrinksOrVanishes()
{
    Scratch scratch;
    const QString path = scratch.path(QStringLiteral("file"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(256 * chunkSize));
    auto ofShrinking = calculateSHA256(path, {});
    QVERIFY(file.resize(0));
    QVERIFY(QCoro::waitFor(ofShrinking).has_value()); // of as much as it got to read

    QVERIFY(file.resize(256 * chunkSize));
    const QByteArray whole = hashOf(path);
    auto ofVanishing = calculateSHA256(path, {});
    QVERIFY(file.remove());
    const auto hash = QCoro::waitFor(ofVanishing);
    QVERIFY(hash ? hash->hexadecimal == whole : hash.error() == FileHashError::NotFound);
    QCOMPARE(hashOf(path), "not found");
}

void tst_FileHash::cancelled()
{
    Scratch scratch;
    const QString path = scratch.path(QStringLiteral("file"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(qint64(1) << 40)); // hours of work
    std::stop_source before;
    before.request_stop();
    QCOMPARE(hashOf(path, before.get_token()), "cancelled");

    std::stop_source during;
    int turns = 0;
    QTimer ticks;
    connect(&ticks, &QTimer::timeout, &ticks, [&] {
        if (++turns == 20) // while the event loop keeps turning
            during.request_stop();
    });
    ticks.start(1);
    QCOMPARE(hashOf(path, during.get_token()), "cancelled");
    QVERIFY(turns >= 20);
}

QTEST_GUILESS_MAIN(tst_FileHash)
#include "tst_FileHash.moc"
