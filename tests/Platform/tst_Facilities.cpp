#include "Platform/Bundle.h"
#include "Platform/Folders.h"
#include "Platform/UserDefaults.h"
#include "Support/Scratch.h"
#include "Utilities/Deployment.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <sys/stat.h>

class tst_Facilities : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultsKeepValuesByType();
    void defaultsThatAreNotJSONAreSetAside();
    void defaultsThatCannotBeWrittenKeepTheOld();
    void bundleReadsItsPropertyList_data();
    void bundleReadsItsPropertyList();
    void originOverrideIsForLoopbackOnly_data();
    void originOverrideIsForLoopbackOnly();
    void homeIsThatOfTheUserDatabase();
    void credentials();
};

void tst_Facilities::defaultsKeepValuesByType()
{
    Scratch scratch;
    const QString file = scratch.path(QStringLiteral(".config/com.vaelix.app.json"));
    const QByteArray binary("\x00\xff{", 3);
    scratch.defaults.setData(QStringLiteral("data"), binary);
    scratch.defaults.setText(QStringLiteral("text"), QStringLiteral("文本"));
    scratch.defaults.setTrue(QStringLiteral("flag"), true);
    const UserDefaults again(file);
    QCOMPARE(again.data(QStringLiteral("data")), binary);
    QCOMPARE(again.text(QStringLiteral("text")), QStringLiteral("文本"));
    QVERIFY(again.isTrue(QStringLiteral("flag")));
    QVERIFY(!again.data(QStringLiteral("text")) && !again.text(QStringLiteral("data"))
            && !again.isTrue(QStringLiteral("text")));
    QVERIFY(!again.data(QStringLiteral("missing")) && !again.text(QStringLiteral("missing"))
            && !again.isTrue(QStringLiteral("missing")));

    // Another process wrote in between: its value survives ours.
    UserDefaults other(file);
    other.setText(QStringLiteral("theirs"), QStringLiteral("x"));
    scratch.defaults.setTrue(QStringLiteral("flag"), false);
    QCOMPARE(other.text(QStringLiteral("theirs")), QStringLiteral("x"));
    QVERIFY(!other.isTrue(QStringLiteral("flag")));
}

void tst_Facilities::defaultsThatAreNotJSONAreSetAside()
{
    Scratch scratch;
    scratch.write(QStringLiteral(".config/com.vaelix.app.json"), "{\"broken\": ");
    QVERIFY(!scratch.defaults.text(QStringLiteral("broken")));
    scratch.defaults.setText(QStringLiteral("new"), QStringLiteral("x"));
    QCOMPARE(scratch.defaults.text(QStringLiteral("new")), QStringLiteral("x"));
    QCOMPARE(scratch.read(QStringLiteral(".config/com.vaelix.app.json.damaged")), "{\"broken\": ");
}

void tst_Facilities::defaultsThatCannotBeWrittenKeepTheOld()
{
    Scratch scratch;
    scratch.write(QStringLiteral("file"), "in the way");
    UserDefaults blocked(scratch.path(QStringLiteral("file/defaults.json")));
    blocked.setText(QStringLiteral("key"), QStringLiteral("x"));
    QVERIFY(!blocked.text(QStringLiteral("key")));
    QCOMPARE(scratch.read(QStringLiteral("file")), "in the way");
}

void tst_Facilities::bundleReadsItsPropertyList_data()
{
    QTest::addColumn<QByteArray>("plist");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("build");
    const auto xml = [](const QByteArray &dict) {
        return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>" + dict + "</dict></plist>";
    };
    QTest::newRow("both") << xml(
        "<key>CFBundleShortVersionString</key><string>2.1</string><key>CFBundleVersion</key><string>37</string>")
                          << "2.1" << "37";
    QTest::newRow("numbers are no texts") << xml("<key>CFBundleVersion</key><integer>37</integer>") << "-" << "-";
    QTest::newRow("not a property list") << QByteArray("hello") << "-" << "-";
    QTest::newRow("none") << QByteArray() << "-" << "-";
}

void tst_Facilities::bundleReadsItsPropertyList()
{
    QFETCH(QByteArray, plist);
    Scratch scratch;
    if (!plist.isEmpty())
        scratch.write(QStringLiteral("Contents/Info.plist"), plist);
    QTEST(scratch.bundle.shortVersion().value_or(QStringLiteral("-")), "version");
    QTEST(scratch.bundle.buildNumber().value_or(QStringLiteral("-")), "build");
    QVERIFY(!scratch.bundle.resource(QStringLiteral("a.json")));
    scratch.write(QStringLiteral("Contents/Resources/a.json"), "[]");
    QCOMPARE(scratch.bundle.resource(QStringLiteral("a.json")),
             scratch.path(QStringLiteral("Contents/Resources/a.json")));
}

void tst_Facilities::originOverrideIsForLoopbackOnly_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("origin");
    const QString configured = QStringLiteral("https://account.vaelix.example");
    QTest::newRow("loopback address") << QByteArray("http://127.0.0.1:8123") << "http://127.0.0.1:8123";
    QTest::newRow("path and user are cut off")
        << QByteArray("http://me@localhost:80/api/?x#y") << "http://localhost:80";
    QTest::newRow("IPv6") << QByteArray("http://[::1]:9") << "http://[::1]:9";
    QTest::newRow("another machine") << QByteArray("http://192.0.2.7:8123") << configured;
    QTest::newRow("looks like loopback") << QByteArray("http://127.0.0.1.evil.example") << configured;
    QTest::newRow("another scheme") << QByteArray("file://localhost/etc") << configured;
    QTest::newRow("empty") << QByteArray() << configured;
}

void tst_Facilities::originOverrideIsForLoopbackOnly()
{
    QFETCH(QByteArray, value);
    qputenv("VAELIX_SERVER_ORIGIN", value);
    QTEST(Deployment::accountOrigin(), "origin");
    qunsetenv("VAELIX_SERVER_ORIGIN");
}

void tst_Facilities::homeIsThatOfTheUserDatabase()
{
    qputenv("HOME", "/nonexistent");
    QVERIFY(Folders::user().home != QStringLiteral("/nonexistent"));
    QVERIFY(QFile::exists(Folders::user().home));
}

void tst_Facilities::credentials()
{
    KeychainService keychain(QStringLiteral("com.vaelix.test"));
    KeychainService other(QStringLiteral("com.vaelix.other"));
    const QString key = QStringLiteral("auth_token");
    keychain.remove(key);
    QVERIFY(!keychain.get(key));
    keychain.save(key, QStringLiteral("first"));
    keychain.save(key, QStringLiteral("第二"));
    QCOMPARE(keychain.get(key), QStringLiteral("第二"));
    QVERIFY(!other.get(key));
    other.remove(key);
    QCOMPARE(keychain.get(key), QStringLiteral("第二"));
    keychain.save(key, QString());
    QVERIFY(keychain.get(key).has_value());
    QCOMPARE(keychain.get(key), QString());
    keychain.remove(key);
    QVERIFY(!keychain.get(key));
    keychain.remove(key);
}

QTEST_GUILESS_MAIN(tst_Facilities)
#include "tst_Facilities.moc"
