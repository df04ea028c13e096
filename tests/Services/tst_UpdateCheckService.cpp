#include "Services/UpdateCheckService.h"

#include "DevServer.h"
#include "Support/Scratch.h"
#include "Support/Table.h"
#include "Utilities/Log.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QSignalSpy>
#include <QTcpServer>

using namespace std::chrono_literals;

namespace {

const QString checkPath = QStringLiteral("/api/v1/update/check");
const QString imagePath = QStringLiteral("/downloads/Vaelix.dmg");
const QDateTime signingTime = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);

/// An update server on a free port and the service of a bundle of build 42 that asks it.
struct Fixture {
    devserver::DevServer server{devserver::ServerState{}};
    QString origin = server.start(0).value();
    Scratch scratch;
    UpdateCheckService service{origin + QStringLiteral("/api/v1"),
                               scratch.bundle,
                               {.folders = scratch.folders,
                                .now = [] { return signingTime; },
                                .checkLimits = {.silence = 10s, .exchange = 10s},
                                .downloadSilence = 10s}};
    QByteArray log;
    const QByteArray image = QByteArray("0123456789").repeated(100'000);
    const QString downloaded = QStringLiteral(".local/share/Vaelix/Updates/update.zip");

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

    /// The server has a megabyte to download.
    void offerImage(const devserver::Delivery &delivery)
    {
        scratch.write(QStringLiteral("image"), image);
        devserver::UpdateOffer offer{.delivery = delivery};
        QVERIFY(offer.setFile(scratch.path(QStringLiteral("image"))));
        server.state().update = offer;
    }

    /// How a download ends of an image that the server said to have so many bytes.
    QString download(UpdateCheckService &asked, qint64 size = 0)
    {
        std::optional<DownloadOutcome> outcome;
        const auto task = asked.downloadUpdate(
            {.downloadURL = origin + imagePath, .fileSize = size}, [](double) {},
            [&](const DownloadOutcome &file) { outcome = file; });
        if (!QTest::qWaitFor([&] { return outcome.has_value(); }, 30'000))
            return QStringLiteral("still under way");
        return *outcome ? QStringLiteral("downloaded") : outcome->error().description;
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
    void downloadedImage_data();
    void downloadedImage();
    void downloadFromAnotherServer();
    void downloadThatIsRefused_data();
    void downloadThatIsRefused();
    void serverThatFallsSilent();
    void downloadThatCannotBeWritten();
    void cancelledDownload();
    void droppedDownload();
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
    const auto row = columns<QByteArray, QString>("value", "query"); // the query is empty when nothing is sent
    const auto text = [](const QByteArray &value) { return "<string>" + value + "</string>"; };
    row("number", text("7"), QStringLiteral("build_number=7"));
    row("plus sign", text("+7"), QStringLiteral("build_number=7"));
    row("largest", text("9223372036854775807"), QStringLiteral("build_number=9223372036854775807"));
    row("too large", text("9223372036854775808"), QStringLiteral(""));
    row("zero", text("0"), QStringLiteral(""));
    row("negative", text("-7"), QStringLiteral(""));
    row("two signs", text("++7"), QStringLiteral(""));
    row("word", text("abc"), QStringLiteral(""));
    row("version", text("1.2"), QStringLiteral(""));
    row("white space", text(" 7"), QStringLiteral(""));
    row("empty", text(""), QStringLiteral(""));
    row("not a text", QByteArray("<integer>7</integer>"), QStringLiteral(""));
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
    const auto row =
        columns<QByteArray, QString, QByteArray>("body", "outcome", "reason"); // none when nothing is logged
    const auto data = [](const QByteArray &fields) { return R"({"code":0,"data":{)" + fields + "}}"; };
    const QByteArray quiet;
    row("only what is needed", data(R"("has_update":true,"latest_version":"1.2.0","build_number":120)"),
        QStringLiteral("1.2.0|120|||0||optional"), quiet);
    row("nulls are missing", data(R"("has_update":true,"latest_version":"1.2.0","build_number":120,
        "message":null,"release_notes":null,"download_url":null,"file_size":null,"file_hash":null,
        "is_mandatory":null)"),
        QStringLiteral("1.2.0|120|||0||optional"), quiet);
    row("no update", data(R"("has_update":false,"latest_version":"1.2.0","build_number":120)"), QStringLiteral("none"),
        quiet);
    row("no build number", data(R"("has_update":true,"latest_version":"1.2.0")"), QStringLiteral("none"), quiet);
    row("no version", data(R"("has_update":true,"build_number":120)"), QStringLiteral("none"), quiet);
    row("code of a failure, with an update",
        QByteArray(R"({"code":1,"data":{"has_update":true,"latest_version":"1.2.0","build_number":120}})"),
        QStringLiteral("none"), quiet);
    row("code of a failure", QByteArray(R"({"code":1,"message":"x"})"), QStringLiteral("none"), quiet);
    row("null data", QByteArray(R"({"code":0,"data":null})"), QStringLiteral("none"), quiet);
    row("no code", QByteArray(R"({"data":{"has_update":false}})"), QStringLiteral("none"),
        QByteArray("字段 “code” 缺失"));
    row("code is text", QByteArray(R"({"code":"0"})"), QStringLiteral("none"), QByteArray("字段 “code” 应为整数"));
    row("message is a number", QByteArray(R"({"code":0,"message":1})"), QStringLiteral("none"),
        QByteArray("字段 “message” 应为文本"));
    row("has_update missing", data(""), QStringLiteral("none"), QByteArray("字段 “data” 字段 “has_update” 缺失"));
    row("has_update is a number", data(R"("has_update":1)"), QStringLiteral("none"),
        QByteArray("字段 “data” 字段 “has_update” 应为布尔值"));
    row("build number is fractional", data(R"("has_update":true,"latest_version":"1","build_number":1.5)"),
        QStringLiteral("none"), QByteArray("字段 “data” 字段 “build_number” 应为整数"));
    row("not JSON", QByteArray("<html>"), QStringLiteral("none"), QByteArray("不是有效的 JSON"));
    row("empty", QByteArray(""), QStringLiteral("none"), QByteArray("不是有效的 JSON"));
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
    QCOMPARE(fixture.log, "⚠️ 检查更新失败: 服务器中断了连接\n");

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

void tst_UpdateCheckService::downloadedImage_data()
{
    const auto row = columns<QString, bool>("address", "announcesLength");
    row("path", QStringLiteral("/downloads/Vaelix.dmg"), true);
    row("path without a slash", QStringLiteral("downloads/Vaelix.dmg"), true);
    row("whole address", QStringLiteral("%1/downloads/Vaelix.dmg"), true);
    row("without length", QStringLiteral("/downloads/Vaelix.dmg"), false);
}

void tst_UpdateCheckService::downloadedImage()
{
    QFETCH(QString, address);
    QFETCH(bool, announcesLength);
    Fixture fixture;
    fixture.offerImage({.announcesLength = announcesLength, .pieceSize = 100'000});
    fixture.scratch.write(fixture.downloaded, "the one before, which is replaced");
    const QSignalSpy states(&fixture.service, &UpdateCheckService::isDownloadingChanged);
    QList<double> shares;
    std::optional<DownloadOutcome> outcome;
    const auto task = fixture.service.downloadUpdate(
        {.downloadURL = address.contains(u'%') ? address.arg(fixture.origin) : address},
        [&](double share) { shares.append(share); }, [&](const DownloadOutcome &file) { outcome = file; });
    QVERIFY(task && fixture.service.isDownloading());
    QTRY_VERIFY(outcome);
    QVERIFY2(*outcome, qPrintable(*outcome ? QString() : outcome->error().description));
    QCOMPARE(**outcome, fixture.scratch.path(fixture.downloaded));
    QVERIFY(fixture.scratch.read(fixture.downloaded) == fixture.image);
    QCOMPARE(states.size(), 2);
    QVERIFY(std::ranges::is_sorted(shares));
    QCOMPARE(shares.isEmpty() ? 0 : shares.last(), announcesLength ? 1.0 : 0.0);
    QCOMPARE(fixture.service.downloadProgress(), announcesLength ? 1.0 : 0.0);
    QCOMPARE(fixture.server.requests().last().header("X-Signature"), "");
}

void tst_UpdateCheckService::downloadFromAnotherServer()
{
    Fixture fixture;
    Fixture other;
    other.offerImage({});
    const QByteArray location = (other.origin + imagePath).toLatin1();
    fixture.server.faults().set("GET", imagePath, {.status = 302, .headers = {{"Location", location}}});
    QCOMPARE(fixture.download(fixture.service, fixture.image.size()), QStringLiteral("downloaded"));
    QVERIFY(fixture.scratch.read(fixture.downloaded) == fixture.image);
    QCOMPARE(other.server.requests().size(), 1);
}

void tst_UpdateCheckService::downloadThatIsRefused_data()
{
    const auto row = columns<devserver::Fault, qint64, QString>("answer", "size", "reason");
    constexpr qint64 endless = std::numeric_limits<qint64>::max();
    const auto differs = [](const char *reason) {
        return QStringLiteral("下载的文件与公布的大小不符：应为 1000 字节，") + QString::fromUtf8(reason);
    };
    // Of these only the beginning comes; what is wrong shows in it.
    const auto announced = [](qint64 length) { return devserver::Fault{.status = 200, .body = "x", .length = length}; };
    row("larger", announced(endless), 1000, differs("服务器提供 9223372036854775807 字节"));
    row("smaller", announced(999), 1000, differs("服务器提供 999 字节"));
    row("larger than said, unannounced", {.status = 200, .body = "x", .length = endless, .announcesLength = false},
        1000, differs("收到的更多"));
    row("smaller than said, unannounced", {.status = 200, .body = "x", .length = 999, .announcesLength = false}, 1000,
        differs("只收到 999 字节"));
    row("error without end", {.status = 404, .body = "x", .length = endless, .announcesLength = false}, 0,
        QStringLiteral("服务器返回错误（HTTP 404）"));
    row("redirection to nowhere", {.status = 302, .body = "x"}, 0, QStringLiteral("服务器返回错误（HTTP 302）"));
}

void tst_UpdateCheckService::downloadThatIsRefused()
{
    QFETCH(devserver::Fault, answer);
    QFETCH(qint64, size);
    Fixture fixture;
    fixture.server.faults().set("GET", imagePath, answer);
    QTEST(fixture.download(fixture.service, size), "reason");
    const QDir folder(QFileInfo(fixture.scratch.path(fixture.downloaded)).path());
    QTRY_COMPARE(folder.entryList(QDir::Files), QStringList());
}

void tst_UpdateCheckService::serverThatFallsSilent()
{
    Fixture fixture;
    fixture.offerImage({.pieceSize = 1000, .pause = 10min});
    const QDeadlineTimer inTime(10s);
    fixture.server.faults().set("GET", checkPath, {.delay = 10min});
    UpdateCheckService service(fixture.origin + QStringLiteral("/api/v1"), fixture.scratch.bundle,
                               {.folders = fixture.scratch.folders,
                                .checkLimits = {.silence = 200ms, .exchange = 20s},
                                .downloadSilence = 200ms});
    QVERIFY(!fixture.check(service));
    QCOMPARE(fixture.log, "⚠️ 检查更新失败: 请求超时\n");
    QVERIFY(!inTime.hasExpired());
    QCOMPARE(fixture.download(service), QStringLiteral("请求超时"));
}

void tst_UpdateCheckService::downloadThatCannotBeWritten()
{
    Fixture fixture;
    fixture.offerImage({});
    QVERIFY(QDir().mkpath(fixture.scratch.path(fixture.downloaded) + QStringLiteral("/a folder in its place")));
    QString reason = fixture.download(fixture.service);
    QVERIFY2(reason.contains(QStringLiteral("该位置是一个文件夹")), qPrintable(reason));
    QVERIFY(QDir(fixture.scratch.folders.applicationSupport).removeRecursively());
    fixture.scratch.write(QStringLiteral(".local/share/Vaelix"), "a file where a folder should be");
    reason = fixture.download(fixture.service);
    QVERIFY2(reason.contains(QStringLiteral("路径中有一级不是文件夹")), qPrintable(reason));
    QVERIFY(!fixture.service.isDownloading());
}

void tst_UpdateCheckService::cancelledDownload()
{
    Fixture fixture;
    fixture.offerImage({.pieceSize = 10'000, .pause = std::chrono::milliseconds(10)});
    fixture.scratch.write(fixture.downloaded, "the one before");
    std::optional<DownloadOutcome> outcome;
    double share = 0;
    const auto task = fixture.service.downloadUpdate(
        {.downloadURL = QStringLiteral("/downloads/Vaelix.dmg")}, [&](double now) { share = now; },
        [&](const DownloadOutcome &file) { outcome = file; });
    QTRY_VERIFY(share > 0);
    task->cancel();
    task->cancel();
    QTRY_VERIFY(outcome);
    QVERIFY(!*outcome);
    QCOMPARE(outcome->error().description, QStringLiteral("已取消"));
    QVERIFY(!fixture.service.isDownloading());
    QCOMPARE(fixture.scratch.read(fixture.downloaded), "the one before");
    const QDir folder(QFileInfo(fixture.scratch.path(fixture.downloaded)).path());
    QTRY_COMPARE(folder.entryList(QDir::Files), QStringList(QStringLiteral("update.zip")));
}

void tst_UpdateCheckService::droppedDownload()
{
    Fixture fixture;
    fixture.offerImage({.pieceSize = 10'000, .pause = std::chrono::milliseconds(10)});
    bool isUnderWay = false;
    bool isTold = false;
    {
        const DownloadTask task({.url = QUrl(fixture.origin + QStringLiteral("/downloads/Vaelix.dmg")),
                                 .destination = fixture.scratch.path(fixture.downloaded)});
        connect(&task, &DownloadTask::completed, this, [&] { isTold = true; });
        connect(&task, &DownloadTask::progressed, this, [&] { isUnderWay = true; });
        QTRY_VERIFY(isUnderWay);
    }
    QCoreApplication::processEvents();
    QVERIFY(!isTold);
    const QDir folder(QFileInfo(fixture.scratch.path(fixture.downloaded)).path());
    QCOMPARE(folder.entryList(QDir::Files), QStringList());
}

QTEST_GUILESS_MAIN(tst_UpdateCheckService)
#include "tst_UpdateCheckService.moc"
