#include "Client.h"
#include "Support/Table.h"

#include <QCryptographicHash>
#include <QMessageAuthenticationCode>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace devserver;
using namespace std::chrono_literals;

namespace {

constexpr auto CheckPath = "/api/v1/update/check?build_number=42";
constexpr auto ImagePath = "/downloads/Vaelix.dmg";
constexpr auto ProductKey = "3de26c6ff0b451325df73a1545174b36";
constexpr auto SigningSecret = "d9b65650b5912129c535d15fe11ce815931197bea0664a07359f82dbeb9cf63b";
constexpr qint64 Now = 1'700'000'000;
/// Over the product key and the time above, made with another program.
constexpr auto Signature = "a9f6257d6d437597f5ce2552cfa93322e92232cd089b26351dce45f15b532b8b";

const QByteArray Image = "0123456789abcdefghijklmnopqrstuvwxyz";

Client::Headers signedAt(const QByteArray &timestamp)
{
    const QByteArray signature =
        QMessageAuthenticationCode::hash(ProductKey + timestamp, SigningSecret, QCryptographicHash::Sha256);
    return {{"X-Product-Key", ProductKey}, {"X-Timestamp", timestamp}, {"X-Signature", signature.toHex()}};
}

} // namespace

class tst_DevServerUpdate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void onlyTheSignedCheckIsAnswered_data();
    void onlyTheSignedCheckIsAnswered();
    void onlyNewerBuildsAreOffered_data();
    void onlyNewerBuildsAreOffered();
    void offerTravelsWithTheKeysOfTheClient();
    void offerWithoutAnImageHasNone();
    void imageComesInTheWayAskedFor_data();
    void imageComesInTheWayAskedFor();
    void slowImageLeavesTimeForOthers();
    void rangeOfTheImageIsServed_data();
    void rangeOfTheImageIsServed();
    void brokenDownloadCanBeResumed();

private:
    JSON check(const QByteArray &path = CheckPath)
    {
        return m_client->get(path, signedAt(QByteArray::number(Now))).json();
    }
    bool offer(JSON order = JSON::object())
    {
        order["file"] = m_file.toStdString();
        return control(encode(order)).status == 200;
    }
    Reply control(const QByteArray &body) { return m_client->control("update", body); }

    QTemporaryDir m_folder;
    QString m_file;
    std::unique_ptr<Client> m_client;
};

void tst_DevServerUpdate::init()
{
    ServerState state;
    state.now = [] { return QDateTime::fromSecsSinceEpoch(Now); };
    m_client = std::make_unique<Client>(std::move(state));
    m_file = m_folder.filePath(u"图像.dmg"_s);
    QFile file(m_file);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(Image), Image.size());
}

void tst_DevServerUpdate::onlyTheSignedCheckIsAnswered_data()
{
    const auto row = columns<Client::Headers, bool>("headers", "isAccepted");
    const auto at = [](qint64 seconds) { return signedAt(QByteArray::number(seconds)); };
    const auto with = [](qsizetype index, const QByteArray &value) {
        Client::Headers headers = signedAt(QByteArray::number(Now));
        headers[index].second = value;
        return headers;
    };
    row("now", at(Now), true);
    row("signed by another program", with(2, Signature), true);
    row("five minutes ago", at(Now - 300), true);
    row("five minutes ahead", at(Now + 300), true);
    row("too old", at(Now - 301), false);
    row("too new", at(Now + 301), false);
    row("no headers", Client::Headers(), false);
    row("other product", with(0, "4de26c6ff0b451325df73a1545174b36"), false);
    row("signature of another time", with(1, QByteArray::number(Now + 1)), false);
    row("signature in capitals", with(2, QByteArray(Signature).toUpper()), false);
    row("no signature", with(2, ""), false);
    row("time no number", signedAt("now"), false);
}

void tst_DevServerUpdate::onlyTheSignedCheckIsAnswered()
{
    QFETCH(Client::Headers, headers);
    QFETCH(bool, isAccepted);
    const Reply reply = m_client->get(CheckPath, headers);
    QCOMPARE(reply.status, isAccepted ? 200 : 401);
    QCOMPARE(reply.json()["code"].get<int>(), isAccepted ? 0 : 1);
    QCOMPARE(reply.json().contains("data"), isAccepted);
}

void tst_DevServerUpdate::onlyNewerBuildsAreOffered_data()
{
    // hasUpdate: the whole answer's code when there is none
    const auto row = columns<QByteArray, QByteArray>("build", "hasUpdate");
    row("older", "41", "true");
    row("the same", "42", "false");
    row("newer", "43", "false");
    row("no number", "x", "400");
    row("none", {}, "400");
}

void tst_DevServerUpdate::onlyNewerBuildsAreOffered()
{
    QFETCH(QByteArray, build);
    const QByteArray path = "/api/v1/update/check?build_number=" + build;
    QCOMPARE(control(R"({"build":42})").status, 200);
    const JSON answer = check(path);
    const JSON told = answer["code"] == 0 ? answer["data"]["has_update"] : answer["code"];
    QTEST(QByteArray::fromStdString(told.dump()), "hasUpdate");
    QCOMPARE(m_client->send("DELETE", "/_control/update").status, 200);
    if (answer["code"] == 0)
        QVERIFY(check(path)["data"] == JSON({{"has_update", false}, {"message", "已是最新版本"}}));
}

void tst_DevServerUpdate::offerTravelsWithTheKeysOfTheClient()
{
    const JSON order{{"version", "2.0.0"},
                     {"build", 4294967296},
                     {"notes", "新\n旧"},
                     {"mandatory", true},
                     {"file", m_file.toStdString()}};
    QCOMPARE(control(encode(order)).status, 200);
    JSON expected{{"has_update", true},
                  {"message", "发现新版本"},
                  {"latest_version", "2.0.0"},
                  {"build_number", 4294967296},
                  {"release_notes", "新\n旧"},
                  {"is_mandatory", true},
                  {"download_url", ImagePath},
                  {"file_size", 36},
                  {"file_hash", QCryptographicHash::hash(Image, QCryptographicHash::Sha256).toHex().toStdString()}};
    QVERIFY(check()["data"] == expected);

    control(R"({"hash":"00ff","url":"https://elsewhere.example/a.dmg","mandatory":false})");
    expected["file_hash"] = "00ff";
    expected["download_url"] = "https://elsewhere.example/a.dmg";
    expected["is_mandatory"] = false;
    QVERIFY(check()["data"] == expected);
}

void tst_DevServerUpdate::offerWithoutAnImageHasNone()
{
    QCOMPARE(control(R"({"build":43})").status, 200);
    const JSON data = check()["data"];
    QVERIFY(data["has_update"] == true);
    for (const char *key : {"download_url", "file_size", "file_hash"})
        QVERIFY2(!data.contains(key), key);
    QCOMPARE(m_client->get(ImagePath).status, 404);
    QVERIFY(offer());
    QVERIFY(QFile::remove(m_file));
    QCOMPARE(m_client->get(ImagePath).status, 404);
}

void tst_DevServerUpdate::imageComesInTheWayAskedFor_data()
{
    const auto row =
        columns<QByteArray, qint64, bool, QNetworkReply::NetworkError>("order", "received", "isAnnounced", "error");
    const auto none = QNetworkReply::NoError;
    const auto broken = QNetworkReply::RemoteHostClosedError;
    row("at once", "{}", 36, true, none);
    row("without length", R"({"announceLength":false})", 36, false, none);
    row("slow", R"({"bytesPerSecond":1000})", 36, true, none);
    row("slow, without length", R"({"bytesPerSecond":1000,"announceLength":false})", 36, false, none);
    row("cut off", R"({"cutAfter":20})", 20, true, broken);
    row("cut off, slow", R"({"cutAfter":20,"bytesPerSecond":1000})", 20, true, broken);
    row("cut off unseen", R"({"cutAfter":20,"announceLength":false})", 20, false, none);
    row("cut behind the end", R"({"cutAfter":37})", 36, true, none);
}

void tst_DevServerUpdate::imageComesInTheWayAskedFor()
{
    QFETCH(QByteArray, order);
    QFETCH(qint64, received);
    QFETCH(bool, isAnnounced);
    QVERIFY(offer());
    QCOMPARE(control(order).status, 200);
    const Reply reply = m_client->get(ImagePath);
    QCOMPARE(reply.status, 200);
    QCOMPARE(reply.body, Image.first(received));
    QCOMPARE(reply.header("Content-Length"), isAnnounced ? "36" : QByteArray());
    QTEST(reply.error, "error");

    control(R"({"announceLength":true,"bytesPerSecond":0,"cutAfter":0})");
    QCOMPARE(m_client->get(ImagePath).body, Image);
}

void tst_DevServerUpdate::slowImageLeavesTimeForOthers()
{
    QVERIFY(offer({{"bytesPerSecond", 20}}));
    const auto slow = m_client->begin("GET", ImagePath);
    QSignalSpy progress(slow.get(), &QNetworkReply::downloadProgress);
    QVERIFY(progress.wait());
    QCOMPARE(m_client->get("/other").status, 404);
    QVERIFY(!slow->isFinished());
    QCOMPARE(progress.first().at(1).toLongLong(), 36);
    slow->abort();
    QCOMPARE(m_client->get("/other").status, 404);
}

void tst_DevServerUpdate::rangeOfTheImageIsServed_data()
{
    const auto row = columns<int, QByteArray, QByteArray>("status", "body", "contentRange");
    row("bytes=30-", 206, "uvwxyz", "bytes 30-35/36");
    row("bytes=0-3", 206, "0123", "bytes 0-3/36");
    row("bytes=34-99", 206, "yz", "bytes 34-35/36");
    row("bytes=-2", 206, "yz", "bytes 34-35/36");
    row("bytes=-99", 206, Image, "bytes 0-35/36");
    row("bytes=36-", 416, "", "bytes */36");
    row("bytes=-0", 416, "", "bytes */36");
    row("bytes=5-2", 200, Image, "");
    row("bytes=0-1,4-5", 200, Image, "");
    row("bytes=-", 200, Image, "");
    row("lines=0-1", 200, Image, "");
    row("bytes=99999999999999999999-", 200, Image, "");
}

void tst_DevServerUpdate::rangeOfTheImageIsServed()
{
    const QByteArray range = QTest::currentDataTag();
    QVERIFY(offer());
    const Reply reply = m_client->get(ImagePath, {{"Range", range}});
    QTEST(reply.status, "status");
    QTEST(reply.body, "body");
    QTEST(reply.header("Content-Range"), "contentRange");
}

void tst_DevServerUpdate::brokenDownloadCanBeResumed()
{
    QVERIFY(offer({{"cutAfter", 20}}));
    const Reply broken = m_client->get(ImagePath);
    QCOMPARE(broken.header("Accept-Ranges"), "bytes");
    const QByteArray range = "bytes=" + QByteArray::number(broken.body.size()) + '-';
    const QByteArray tag = broken.header("ETag");
    const Reply rest = m_client->get(ImagePath, {{"Range", range}, {"If-Range", tag}});
    QCOMPARE(rest.status, 206);
    QCOMPARE(broken.body + rest.body, Image);

    QFile file(m_file);
    QVERIFY(file.open(QIODevice::Append) && file.putChar('!'));
    file.close();
    QVERIFY(offer({{"cutAfter", 0}}));
    const Reply changed = m_client->get(ImagePath, {{"Range", range}, {"If-Range", tag}});
    QCOMPARE(changed.status, 200);
    QCOMPARE(changed.body, Image + '!');
}

QTEST_GUILESS_MAIN(tst_DevServerUpdate)
#include "tst_DevServerUpdate.moc"
