#include "Services/UpdateCheckService.h"

#include "DevServer.h"
#include "Support/Scratch.h"
#include "Utilities/Log.h"

#include <QSignalSpy>
#include <QTcpServer>

namespace {

const QString checkPath = QStringLiteral("/api/v1/update/check");
const QDateTime signingTime = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);

/// An update server on a free port and the service of a bundle of build 42 that asks it.
struct Fixture {
    devserver::DevServer server{devserver::ServerState{}};
    QString origin = server.start(0).value();
    Scratch scratch;
    UpdateCheckService service{origin + QStringLiteral("/api/v1"),
                               scratch.bundle,
                               {.folders = scratch.folders, .now = [] { return signingTime; }}};
    QByteArray log;

    Fixture()
    {
        server.state().now = [] { return signingTime; };
        setBuild("<string>42</string>");
    }

    void setBuild(const QByteArray &value) const
    {
        scratch.write(QStringLiteral("Contents/Info.plist"),
                      "<plist version=\"1.0\"><dict><key>CFBundleVersion</key>" + value + "</dict></plist>");
    }

    std::optional<AppVersionInfo> check(UpdateCheckService &asked)
    {
        char *text = nullptr;
        std::size_t size = 0;
        std::FILE *const stream = ::open_memstream(&text, &size);
        Log::setStream(stream);
        const auto update = QCoro::waitFor(asked.checkForUpdates());
        Log::setStream(stdout);
        std::fclose(stream);
        const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
        log = QByteArray(text, qsizetype(size));
        return update;
    }

    /// How a check ends: the descriptor's fields.
    QString outcome()
    {
        const auto update = check(service);
        if (!update)
            return QStringLiteral("none");
        return QStringLiteral("%1|%2|%3|%4|%5|%6|%7")
            .arg(update->version)
            .arg(update->buildNumber)
            .arg(update->releaseNotes, update->downloadURL)
            .arg(update->fileSize)
            .arg(update->fileHash)
            .arg(update->isMandatory ? QStringLiteral("mandatory") : QStringLiteral("optional"));
    }
};

} // namespace

class tst_UpdateCheckService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newerBuildIsOffered();
    void requestIsSigned();
    void clockThatIsWrongGetsNoUpdate();
    void ownBuildNumber_data();
    void ownBuildNumber();
    void answer_data();
    void answer();
    void serverThatCannotBeAsked();
    void checksThatOverlap();
};

void tst_UpdateCheckService::newerBuildIsOffered()
{
    Fixture fixture;
    QCOMPARE(fixture.outcome(), QStringLiteral("none"));
    fixture.scratch.write(QStringLiteral("image"), "abc");
    devserver::UpdateOffer offer{.version = QStringLiteral("1.2.0"), .build = 43, .notes = QStringLiteral("新")};
    QVERIFY(offer.setFile(fixture.scratch.path(QStringLiteral("image"))));
    fixture.server.state().update = offer;
    const QString fields = QStringLiteral("1.2.0|43|新|/downloads/Vaelix.dmg|3|") + offer.fileHash;
    QCOMPARE(fixture.outcome(), fields + QStringLiteral("|optional"));
    fixture.server.state().update->isMandatory = true;
    QCOMPARE(fixture.outcome(), fields + QStringLiteral("|mandatory"));
    QVERIFY(fixture.check(fixture.service)->id != fixture.check(fixture.service)->id);

    fixture.setBuild("<string>43</string>");
    QCOMPARE(fixture.outcome(), QStringLiteral("none"));
    QCOMPARE(fixture.log, "");
}

void tst_UpdateCheckService::requestIsSigned()
{
    Fixture fixture;
    fixture.outcome();
    QCOMPARE(fixture.server.requests().size(), 1);
    const auto &request = fixture.server.requests().first();
    QCOMPARE(request.method, "GET");
    QCOMPARE(request.path, checkPath);
    QCOMPARE(request.query, QStringLiteral("build_number=42"));
    QCOMPARE(request.header("X-Product-Key"), "3de26c6ff0b451325df73a1545174b36");
    QCOMPARE(request.header("X-Timestamp"), "1700000000");
    QCOMPARE(request.header("X-Signature"), "a9f6257d6d437597f5ce2552cfa93322e92232cd089b26351dce45f15b532b8b");
    QCOMPARE(request.header("Authorization"), "");
}

void tst_UpdateCheckService::clockThatIsWrongGetsNoUpdate()
{
    Fixture fixture;
    fixture.server.state().update = devserver::UpdateOffer{};
    QVERIFY(fixture.outcome() != QStringLiteral("none"));
    for (const int seconds : {-3600, 3600}) {
        fixture.server.state().now = [seconds] { return signingTime.addSecs(seconds); };
        QCOMPARE(fixture.outcome(), QStringLiteral("none"));
        QCOMPARE(fixture.log, ""); // refused, which is an answer
    }
}

void tst_UpdateCheckService::ownBuildNumber_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("query"); // empty when nothing is sent
    const auto text = [](const QByteArray &value) { return "<string>" + value + "</string>"; };
    QTest::newRow("number") << text("7") << "build_number=7";
    QTest::newRow("plus sign") << text("+7") << "build_number=7";
    QTest::newRow("largest") << text("9223372036854775807") << "build_number=9223372036854775807";
    QTest::newRow("too large") << text("9223372036854775808") << "";
    QTest::newRow("zero") << text("0") << "";
    QTest::newRow("negative") << text("-7") << "";
    QTest::newRow("two signs") << text("++7") << "";
    QTest::newRow("word") << text("abc") << "";
    QTest::newRow("version") << text("1.2") << "";
    QTest::newRow("white space") << text(" 7") << "";
    QTest::newRow("empty") << text("") << "";
    QTest::newRow("not a text") << QByteArray("<integer>7</integer>") << "";
}

void tst_UpdateCheckService::ownBuildNumber()
{
    QFETCH(QByteArray, value);
    QFETCH(QString, query);
    Fixture fixture;
    fixture.setBuild(value);
    const QSignalSpy checking(&fixture.service, &UpdateCheckService::isCheckingChanged);
    QCOMPARE(fixture.outcome(), QStringLiteral("none"));
    const bool isSent = !query.isEmpty();
    QCOMPARE(fixture.log, isSent ? QByteArray() : "⚠️ 无法获取当前构建号\n");
    QCOMPARE(checking.size(), isSent ? 2 : 0);
    QCOMPARE(fixture.server.requests().size(), isSent ? 1 : 0);
    if (isSent)
        QCOMPARE(fixture.server.requests().first().query, query);
}

void tst_UpdateCheckService::answer_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("outcome");
    QTest::addColumn<QByteArray>("reason"); // empty when nothing is logged
    const auto data = [](const QByteArray &fields) { return R"({"code":0,"data":{)" + fields + "}}"; };
    const QByteArray quiet;
    QTest::newRow("only what is needed") << data(R"("has_update":true,"latest_version":"1.2.0","build_number":120)")
                                         << "1.2.0|120|||0||optional" << quiet;
    QTest::newRow("nulls are missing") << data(R"("has_update":true,"latest_version":"1.2.0","build_number":120,
        "message":null,"release_notes":null,"download_url":null,"file_size":null,"file_hash":null,
        "is_mandatory":null)") << "1.2.0|120|||0||optional"
                                       << quiet;
    QTest::newRow("no update") << data(R"("has_update":false,"latest_version":"1.2.0","build_number":120)") << "none"
                               << quiet;
    QTest::newRow("no build number") << data(R"("has_update":true,"latest_version":"1.2.0")") << "none" << quiet;
    QTest::newRow("no version") << data(R"("has_update":true,"build_number":120)") << "none" << quiet;
    QTest::newRow("code of a failure, with an update")
        << QByteArray(R"({"code":1,"data":{"has_update":true,"latest_version":"1.2.0","build_number":120}})") << "none"
        << quiet;
    QTest::newRow("code of a failure") << QByteArray(R"({"code":1,"message":"x"})") << "none" << quiet;
    QTest::newRow("null data") << QByteArray(R"({"code":0,"data":null})") << "none" << quiet;
    QTest::newRow("no code") << QByteArray(R"({"data":{"has_update":false}})") << "none"
                             << QByteArray("字段 “code” 缺失");
    QTest::newRow("code is text") << QByteArray(R"({"code":"0"})") << "none" << QByteArray("字段 “code” 应为整数");
    QTest::newRow("message is a number") << QByteArray(R"({"code":0,"message":1})") << "none"
                                         << QByteArray("字段 “message” 应为文本");
    QTest::newRow("has_update missing") << data("") << "none" << QByteArray("字段 “data” 字段 “has_update” 缺失");
    QTest::newRow("has_update is a number")
        << data(R"("has_update":1)") << "none" << QByteArray("字段 “data” 字段 “has_update” 应为布尔值");
    QTest::newRow("build number is fractional") << data(R"("has_update":true,"latest_version":"1","build_number":1.5)")
                                                << "none" << QByteArray("字段 “data” 字段 “build_number” 应为整数");
    QTest::newRow("not JSON") << QByteArray("<html>") << "none" << QByteArray("不是有效的 JSON");
    QTest::newRow("empty") << QByteArray("") << "none" << QByteArray("不是有效的 JSON");
}

void tst_UpdateCheckService::answer()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, reason);
    Fixture fixture;
    for (const int status : {200, 503}) { // the status says nothing
        fixture.server.faults().set("GET", checkPath, {.status = status, .body = body});
        QTEST(fixture.outcome(), "outcome");
        QVERIFY(!fixture.service.isChecking());
        if (reason.isEmpty())
            QCOMPARE(fixture.log, "");
        else
            QVERIFY2(fixture.log.startsWith("⚠️ 检查更新失败: " + reason) && fixture.log.count('\n') == 1,
                     fixture.log.constData());
    }
}

void tst_UpdateCheckService::serverThatCannotBeAsked()
{
    Fixture fixture;
    fixture.server.faults().set("GET", checkPath, {.drop = devserver::Drop::MidBody});
    QCOMPARE(fixture.outcome(), QStringLiteral("none"));
    QVERIFY2(fixture.log.startsWith("⚠️ 检查更新失败: "), fixture.log.constData());

    QTcpServer nobody;
    QVERIFY(nobody.listen(QHostAddress::LocalHost));
    const QString origin = QStringLiteral("http://127.0.0.1:%1").arg(nobody.serverPort());
    nobody.close();
    UpdateCheckService refused(origin + QStringLiteral("/api/v1"), fixture.scratch.bundle, {});
    QVERIFY(!fixture.check(refused));
    QCOMPARE(fixture.log, "⚠️ 检查更新失败: 无法连接到服务器\n");
    QVERIFY(!refused.isChecking());

    UpdateCheckService nowhere(QStringLiteral("http://["), fixture.scratch.bundle, {});
    QVERIFY(!fixture.check(nowhere));
    QCOMPARE(fixture.log, "");
    QVERIFY(!nowhere.isChecking());
}

void tst_UpdateCheckService::checksThatOverlap()
{
    Fixture fixture;
    const QSignalSpy checking(&fixture.service, &UpdateCheckService::isCheckingChanged);
    const auto first = fixture.service.checkForUpdates();
    QVERIFY(fixture.service.isChecking());
    const auto second = fixture.service.checkForUpdates();
    QTRY_VERIFY(first.isReady() && second.isReady());
    QVERIFY(!fixture.service.isChecking());
    QCOMPARE(checking.size(), 2);
}

QTEST_GUILESS_MAIN(tst_UpdateCheckService)
#include "tst_UpdateCheckService.moc"
