#include "Platform/Bundle.h"
#include "Platform/Folders.h"
#include "Support/Scratch.h"
#include "Support/Table.h"
#include "Utilities/Deployment.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

class tst_Facilities : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void bundleReadsItsPropertyList_data();
    void bundleReadsItsPropertyList();
    void originOverrideIsForLoopbackOnly_data();
    void originOverrideIsForLoopbackOnly();
    void homeIsThatOfTheUserDatabase();
    void credentials();
};

void tst_Facilities::bundleReadsItsPropertyList_data()
{
    const auto row = columns<QByteArray, QString, QString>("plist", "version", "build");
    const auto xml = [](const QByteArray &dict) {
        return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>" + dict + "</dict></plist>";
    };
    row("both",
        xml("<key>CFBundleShortVersionString</key><string>2.1</string><key>CFBundleVersion</key><string>37</string>"),
        u"2.1"_s, u"37"_s);
    row("numbers are no texts", xml("<key>CFBundleVersion</key><integer>37</integer>"), u"-"_s, u"-"_s);
    row("not a property list", "hello", u"-"_s, u"-"_s);
    row("none", {}, u"-"_s, u"-"_s);
}

void tst_Facilities::bundleReadsItsPropertyList()
{
    QFETCH(QByteArray, plist);
    Scratch scratch;
    if (!plist.isEmpty())
        scratch.write(u"Contents/Info.plist"_s, plist);
    QTEST(scratch.bundle.shortVersion().value_or(u"-"_s), "version");
    QTEST(scratch.bundle.buildNumber().value_or(u"-"_s), "build");
    QVERIFY(!scratch.bundle.resource(u"a.json"_s));
    scratch.write(u"Contents/Resources/a.json"_s, "[]");
    QCOMPARE(scratch.bundle.resource(u"a.json"_s), scratch.path(u"Contents/Resources/a.json"_s));
}

void tst_Facilities::originOverrideIsForLoopbackOnly_data()
{
    const auto row = columns<QByteArray, QString>("value", "origin");
    const QString configured = u"https://account.vaelix.example"_s;
    row("loopback address", "http://127.0.0.1:8123", u"http://127.0.0.1:8123"_s);
    row("path and user are cut off", "http://me@localhost:80/api/?x#y", u"http://localhost:80"_s);
    row("IPv6", "http://[::1]:9", u"http://[::1]:9"_s);
    row("another machine", "http://192.0.2.7:8123", configured);
    row("looks like loopback", "http://127.0.0.1.evil.example", configured);
    row("another scheme", "file://localhost/etc", configured);
    row("empty", {}, configured);
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
    QVERIFY(Folders::user().home != u"/nonexistent"_s);
    QVERIFY(QFile::exists(Folders::user().home));
}

void tst_Facilities::credentials()
{
    KeychainService keychain(u"com.vaelix.test"_s);
    KeychainService other(u"com.vaelix.other"_s);
    const QString key = u"auth_token"_s;
    keychain.remove(key);
    QVERIFY(!keychain.get(key));
    keychain.save(key, u"first"_s);
    keychain.save(key, u"第二"_s);
    QCOMPARE(keychain.get(key), u"第二"_s);
    QVERIFY(!other.get(key));
    other.remove(key);
    QCOMPARE(keychain.get(key), u"第二"_s);
    keychain.save(key, QString());
    QVERIFY(keychain.get(key).has_value());
    QCOMPARE(keychain.get(key), QString());
    keychain.remove(key);
    QVERIFY(!keychain.get(key));
    keychain.remove(key);
}

QTEST_GUILESS_MAIN(tst_Facilities)
#include "tst_Facilities.moc"
