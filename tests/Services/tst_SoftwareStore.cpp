#include "Support/Scratch.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QString key = QStringLiteral("ai_software_status_v1");
const QByteArray goodRecord = R"({"status":"installed","version":"1","tokenConsumedToday":0})";

} // namespace

class tst_SoftwareStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void savedRecordComesBack();
    void writtenForm();
    void tableThatDoesNotDecodeIsEmpty_data();
    void tableThatDoesNotDecodeIsEmpty();
    void mergeKeepsObjectsAndTheirState();
};

void tst_SoftwareStore::savedRecordComesBack()
{
    Scratch scratch;
    QVERIFY(scratch.store.loadAll().isEmpty());
    AISoftware software(QStringLiteral("a"));
    software.setStatus(SoftwareStatus::Installing);
    software.setVersion(QStringLiteral("1.2.0"));
    software.tokenConsumedToday = 9'000'000'000;
    scratch.store.save(software);
    QCOMPARE(scratch.store.loadAll()[QStringLiteral("a")],
             (StatusRecord{SoftwareStatus::Installing, QStringLiteral("1.2.0"), {}, {}, 9'000'000'000}));

    const QDateTime now = QDateTime::currentDateTime();
    software.setStatus(SoftwareStatus::NotInstalled);
    software.setInstalledAt(now);
    software.lastUsedAt = now.addDays(-1);
    scratch.store.save(software);
    scratch.store.save(AISoftware(QStringLiteral("b")));
    SoftwareStore nextRun(scratch.defaults);
    QCOMPARE(nextRun.loadAll().size(), 2);
    QCOMPARE(
        nextRun.loadAll()[QStringLiteral("a")],
        (StatusRecord{SoftwareStatus::NotInstalled, QStringLiteral("1.2.0"), now, now.addDays(-1), 9'000'000'000}));
}

void tst_SoftwareStore::writtenForm()
{
    Scratch scratch;
    AISoftware software(QStringLiteral("a"));
    software.setInstalledAt(QDateTime::fromString(QStringLiteral("2001-01-01T00:00:01.500Z"), Qt::ISODateWithMs));
    scratch.store.save(software);
    QCOMPARE(scratch.defaults.data(key).value(),
             R"({"a":{"installedAt":1.5,"status":"not_installed","tokenConsumedToday":0,"version":""}})");
}

void tst_SoftwareStore::tableThatDoesNotDecodeIsEmpty_data()
{
    QTest::addColumn<QByteArray>("table");
    const auto with = [](const char *from, const char *to) {
        return R"({"good":)" + goodRecord + R"(,"bad":)" + QByteArray(goodRecord).replace(from, to) + '}';
    };
    QTest::newRow("not JSON") << QByteArray("{");
    QTest::newRow("array") << QByteArray("[]");
    QTest::newRow("case name for raw value") << with("installed", "notInstalled");
    QTest::newRow("no version") << with(R"("version":"1",)", "");
    QTest::newRow("version is a number") << with("\"1\"", "1");
    QTest::newRow("tokens are text") << with(":0", ":\"0\"");
    QTest::newRow("tokens are fractional") << with(":0", ":1.5");
    QTest::newRow("tokens are a boolean") << with(":0", ":true");
    QTest::newRow("date is text") << with("{", R"({"installedAt":"2026-01-01",)");
}

void tst_SoftwareStore::tableThatDoesNotDecodeIsEmpty()
{
    QFETCH(QByteArray, table);
    Scratch scratch;
    scratch.defaults.setData(key, R"({"good":)" + goodRecord + '}');
    QCOMPARE(scratch.store.loadAll().size(), 1);
    scratch.defaults.setData(key, table);
    QVERIFY(scratch.store.loadAll().isEmpty());
    QCOMPARE(scratch.defaults.data(key), table);

    scratch.store.save(AISoftware(QStringLiteral("new")));
    QCOMPARE(scratch.store.loadAll().keys(), QStringList{QStringLiteral("new")});
}

void tst_SoftwareStore::mergeKeepsObjectsAndTheirState()
{
    Scratch scratch;
    SoftwareCatalog::Entries catalog{testEntry(QStringLiteral("a")), testEntry(QStringLiteral("b")),
                                     testEntry(QStringLiteral("c"))};
    catalog[1].version = QStringLiteral("2.0");
    catalog[1].upgradeCommand = QStringLiteral("upgrade b");
    scratch.defaults.setData(key, R"({"b":)" + goodRecord + '}');
    scratch.store.merge(catalog);
    AISoftware *const b = scratch.store.software(QStringLiteral("b"));
    QCOMPARE(b->status(), SoftwareStatus::Installed);
    QCOMPARE(b->version(), QStringLiteral("1"));
    QVERIFY(b->latestVersion.isEmpty() && b->upgradeCommand.isEmpty());

    b->setStatus(SoftwareStatus::Running);
    catalog.removeFirst();
    catalog.append(testEntry(QStringLiteral("a")));
    catalog[0].name = QStringLiteral("新名字");
    const QPointer<AISoftware> former = scratch.store.software(QStringLiteral("a"));
    catalog.removeLast();
    scratch.store.merge(catalog);
    QCOMPARE(scratch.store.softwareList().first(), b);
    QCOMPARE(scratch.store.softwareList().size(), 2);
    QCOMPARE(b->name, QStringLiteral("新名字"));
    QCOMPARE(b->status(), SoftwareStatus::Running);
    QCOMPARE(b->latestVersion, QStringLiteral("2.0"));
    QCOMPARE(b->upgradeCommand, QStringLiteral("upgrade b"));
    QTRY_VERIFY(!former);
}

QTEST_GUILESS_MAIN(tst_SoftwareStore)
#include "tst_SoftwareStore.moc"
