#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QString key = u"ai_software_status_v1"_s;
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
    void firstOfTwoEntriesWithOneIdCounts();
    void passIsOneWriteOfWhatChanged();
    void passLeavesWhatAnotherProcessStored_data();
    void passLeavesWhatAnotherProcessStored();
};

void tst_SoftwareStore::savedRecordComesBack()
{
    Scratch scratch;
    QVERIFY(scratch.store.loadAll().isEmpty());
    AISoftware software(u"a"_s);
    software.setStatus(SoftwareStatus::Installing);
    software.setVersion(u"1.2.0"_s);
    software.tokenConsumedToday = 9'000'000'000;
    scratch.store.save(software);
    QCOMPARE(scratch.store.loadAll()[u"a"_s],
             (StatusRecord{SoftwareStatus::Installing, u"1.2.0"_s, {}, {}, 9'000'000'000}));

    const QDateTime now = QDateTime::currentDateTime();
    software.setStatus(SoftwareStatus::NotInstalled);
    software.setInstalledAt(now);
    software.lastUsedAt = now.addDays(-1);
    scratch.store.save(software);
    scratch.store.save(AISoftware(u"b"_s));
    SoftwareStore nextRun(scratch.defaults);
    QCOMPARE(nextRun.loadAll().size(), 2);
    QCOMPARE(nextRun.loadAll()[u"a"_s],
             (StatusRecord{SoftwareStatus::NotInstalled, u"1.2.0"_s, now, now.addDays(-1), 9'000'000'000}));
}

void tst_SoftwareStore::writtenForm()
{
    Scratch scratch;
    AISoftware software(u"a"_s);
    software.setInstalledAt(QDateTime::fromString(u"2001-01-01T00:00:01.500Z"_s, Qt::ISODateWithMs));
    scratch.store.save(software);
    QCOMPARE(scratch.defaults.data(key).value(),
             R"({"a":{"installedAt":1.5,"status":"not_installed","tokenConsumedToday":0,"version":""}})");
}

void tst_SoftwareStore::tableThatDoesNotDecodeIsEmpty_data()
{
    const auto row = columns<QByteArray>("table");
    const auto with = [](const char *from, const char *to) {
        return R"({"good":)" + goodRecord + R"(,"bad":)" + QByteArray(goodRecord).replace(from, to) + '}';
    };
    row("not JSON", "{");
    row("array", "[]");
    row("case name for raw value", with("installed", "notInstalled"));
    row("no version", with(R"("version":"1",)", ""));
    row("version is a number", with("\"1\"", "1"));
    row("tokens are text", with(":0", ":\"0\""));
    row("tokens are fractional", with(":0", ":1.5"));
    row("tokens are a boolean", with(":0", ":true"));
    row("date is text", with("{", R"({"installedAt":"2026-01-01",)"));
    row("date is beyond reach", with("{", R"({"installedAt":1e300,)"));
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

    scratch.store.save(AISoftware(u"new"_s));
    QCOMPARE(scratch.store.loadAll().keys(), QStringList{u"new"_s});
}

void tst_SoftwareStore::mergeKeepsObjectsAndTheirState()
{
    Scratch scratch;
    SoftwareCatalog::Entries catalog{testEntry(u"a"_s), testEntry(u"b"_s), testEntry(u"c"_s)};
    catalog[1].version = u"2.0"_s;
    catalog[1].upgradeCommand = u"upgrade b"_s;
    scratch.defaults.setData(key, R"({"b":)" + goodRecord + '}');
    scratch.store.merge(catalog);
    AISoftware *const b = scratch.store.software(u"b"_s);
    QCOMPARE(b->status(), SoftwareStatus::Installed);
    QCOMPARE(b->version(), u"1"_s);
    QVERIFY(b->latestVersion.isEmpty() && b->upgradeCommand.isEmpty());

    b->setStatus(SoftwareStatus::Running);
    catalog.removeFirst();
    catalog.append(testEntry(u"a"_s));
    catalog[0].name = u"新名字"_s;
    const QPointer<AISoftware> former = scratch.store.software(u"a"_s);
    catalog.removeLast();
    scratch.store.merge(catalog);
    QVERIFY(!scratch.store.software(u"a"_s));
    QVERIFY(former); // a view may still show it
    QCOMPARE(scratch.store.softwareList().first(), b);
    QCOMPARE(scratch.store.softwareList().size(), 2);
    QCOMPARE(b->name, u"新名字"_s);
    QCOMPARE(b->status(), SoftwareStatus::Running);
    QCOMPARE(b->latestVersion, u"2.0"_s);
    QCOMPARE(b->upgradeCommand, u"upgrade b"_s);
    scratch.store.merge(catalog);
    QVERIFY(!former);
}

void tst_SoftwareStore::firstOfTwoEntriesWithOneIdCounts()
{
    Scratch scratch;
    SoftwareCatalog::Entries catalog{testEntry(u"a"_s), testEntry(u"b"_s), testEntry(u"a"_s)};
    catalog[2].name = u"另一个"_s;
    catalog[2].installCommand = u"other"_s;
    for (int time = 0; time < 2; ++time) {
        scratch.store.merge(catalog);
        QCOMPARE(scratch.store.softwareList().size(), 2);
        QCOMPARE(scratch.store.software(u"a"_s)->name, u"A"_s);
        QVERIFY(scratch.store.software(u"a"_s)->installCommand.isEmpty());
    }
}

void tst_SoftwareStore::passIsOneWriteOfWhatChanged()
{
    Scratch scratch;
    const QString file = scratch.path(u".config/com.vaelix.app.json"_s);
    const auto stamp = [&file, &scratch] {
        scratch.defaults.flush();
        struct stat status{};
        return ::stat(QFile::encodeName(file), &status) == 0 ? status.st_ino : 0; // a new one with each write
    };
    SoftwareCatalog::Entries catalog;
    for (int number = 0; number < 2000; ++number)
        catalog.append(testEntry(QString::number(number)));
    scratch.store.merge(catalog);
    QSignalSpy changes(&scratch.store, &SoftwareStore::changed);
    scratch.store.saveAll();
    const auto first = stamp();
    QVERIFY(first != 0);
    QCOMPARE(scratch.store.loadAll().size(), 2000);
    scratch.store.saveAll();
    QCOMPARE(stamp(), first);
    QCOMPARE(changes.count(), 1);
    scratch.store.software(u"7"_s)->setStatus(SoftwareStatus::Running);
    scratch.store.saveAll();
    QVERIFY(stamp() != first);
    QCOMPARE(scratch.store.loadAll()[u"7"_s].status, SoftwareStatus::Running);
}

void tst_SoftwareStore::passLeavesWhatAnotherProcessStored_data()
{
    const auto row = columns<bool>("isKnown");
    row("changed since", true);
    row("stored for the first time since", false);
}

void tst_SoftwareStore::passLeavesWhatAnotherProcessStored()
{
    Scratch scratch;
    UserDefaults theirDefaults(scratch.path(u".config/com.vaelix.app.json"_s));
    SoftwareStore theirs(theirDefaults);
    QFETCH(bool, isKnown);
    const SoftwareCatalog::Entries catalog{testEntry(u"a"_s), testEntry(u"b"_s)};
    scratch.store.merge(catalog);
    if (isKnown)
        scratch.store.saveAll();
    scratch.defaults.flush();
    theirs.merge(catalog);
    const QDateTime now = QDateTime::currentDateTime();
    theirs.software(u"a"_s)->setInstalledAt(now);
    theirs.software(u"a"_s)->setVersion(u"1"_s);
    theirs.save(*theirs.software(u"a"_s));
    theirDefaults.flush();

    // Our pass has seen the program come, but not how.
    scratch.store.software(u"a"_s)->setStatus(SoftwareStatus::Running);
    scratch.store.software(u"b"_s)->setStatus(SoftwareStatus::Installed);
    scratch.store.saveAll();
    scratch.defaults.flush();
    QCOMPARE(theirs.loadAll()[u"a"_s], (StatusRecord{SoftwareStatus::Running, u"1"_s, now, {}, 0}));
    QCOMPARE(theirs.loadAll()[u"b"_s].status, SoftwareStatus::Installed);
}

QTEST_GUILESS_MAIN(tst_SoftwareStore)
#include "tst_SoftwareStore.moc"
