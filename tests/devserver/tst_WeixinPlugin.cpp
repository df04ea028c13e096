#include "Client.h"

#include <QDir>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

using namespace devserver;
using namespace std::chrono_literals;

namespace {

constexpr auto LoginPath = "/weixin/login";

// Stands in for OpenClaw: loads the plug-in, logs in and shows what the plug-in left behind.
constexpr auto Host = R"(
    import plugin from "./openclaw-weixin/index.js";
    const kept = { channels: { qqbot: { appId: "1" } } };
    let channel;
    plugin.register({
        registerChannel: (registration) => channel = registration.plugin,
        runtime: { config: { mutateConfigFile: async ({ mutate }) => mutate(kept) } },
    });
    await channel.auth.login({ runtime: { log: console.log } });
    console.log(JSON.stringify({ ...kept, accounts: channel.config.listAccountIds() }));
)";

QByteArray contentOf(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The lines drawn in half blocks, black where nothing is drawn.
QImage drawn(const QStringList &lines)
{
    constexpr int scale = 4;
    QImage image(int(lines.first().size()), int(lines.size()) * 2, QImage::Format_RGB32);
    image.fill(Qt::black);
    for (int y = 0; y < lines.size(); ++y) {
        for (int x = 0; x < lines[y].size(); ++x) {
            const QChar glyph = lines[y][x];
            if (glyph == u'█' || glyph == u'▀')
                image.setPixelColor(x, 2 * y, Qt::white);
            if (glyph == u'█' || glyph == u'▄')
                image.setPixelColor(x, 2 * y + 1, Qt::white);
        }
    }
    return image.scaled(image.size() * scale);
}

} // namespace

class tst_WeixinPlugin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void archiveHoldsThePluginForTheHostThatWasAsked();
    void loginEndsWhenItsQRCodeIsOpened();
    void loginCountsAsScannedAfterAWhile();
    void refusedLoginFailsAndKeepsNothing_data();
    void refusedLoginFailsAndKeepsNothing();
    void unknownLoginsAreNotFound();

private:
    void unpack();
    void startLogin(QProcess &node);
    QString path(const char *name) const { return m_home->filePath(QLatin1String(name)); }
    QByteArray scannedFrom(const QString &output) const;

    std::unique_ptr<Client> m_client;
    std::unique_ptr<QTemporaryDir> m_home;
};

void tst_WeixinPlugin::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    m_client = std::make_unique<Client>(ServerState{});
}

void tst_WeixinPlugin::unpack()
{
    const Reply archive = m_client->get("/api/v1/software/files/weixin/download");
    QCOMPARE(archive.status, 200);
    QFile file(path("plugin.zip"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(archive.body), archive.body.size());
    file.close();
    QCOMPARE(QProcess::execute(QStringLiteral("unzip"),
                               {QStringLiteral("-qo"), file.fileName(), QStringLiteral("-d"), m_home->path()}),
             0);
}

void tst_WeixinPlugin::startLogin(QProcess &node)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), m_home->path());
    environment.remove(QStringLiteral("OPENCLAW_STATE_DIR"));
    node.setProcessEnvironment(environment);
    node.setWorkingDirectory(m_home->path());
    node.start(QStringLiteral("node"),
               {QStringLiteral("--input-type=module"), QStringLiteral("-e"), QLatin1String(Host)});
}

/// What a phone reads from the QR code in the output.
QByteArray tst_WeixinPlugin::scannedFrom(const QString &output) const
{
    const QStringList lines = output.section(QStringLiteral("\n\n"), 1, 1).split(u'\n');
    if (!drawn(lines).save(path("code.png")))
        qFatal("cannot draw: %s", qPrintable(output));
    QProcess reader;
    reader.start(QStringLiteral("zbarimg"), {QStringLiteral("--raw"), QStringLiteral("-q"), path("code.png")});
    if (!reader.waitForFinished())
        qFatal("zbarimg (package zbar-tools): %s", qPrintable(reader.errorString()));
    return reader.readAllStandardOutput().trimmed();
}

void tst_WeixinPlugin::archiveHoldsThePluginForTheHostThatWasAsked()
{
    unpack();
    QCOMPARE(QDir(path("openclaw-weixin")).entryList(QDir::Files),
             (QStringList{QStringLiteral("index.js"), QStringLiteral("openclaw.plugin.json"),
                          QStringLiteral("package.json"), QStringLiteral("server.json")}));
    const JSON server = JSON::parse(contentOf(path("openclaw-weixin/server.json")).toStdString());
    QVERIFY(server["origin"] == m_client->origin().toStdString());
    const JSON manifest = JSON::parse(contentOf(path("openclaw-weixin/openclaw.plugin.json")).toStdString());
    const JSON package = JSON::parse(contentOf(path("openclaw-weixin/package.json")).toStdString());
    QVERIFY(manifest["channels"][0] == "openclaw-weixin");
    QVERIFY(package["openclaw"]["channel"]["id"] == manifest["id"]);
    QVERIFY(package["openclaw"]["extensions"][0] == "./index.js");
}

void tst_WeixinPlugin::loginEndsWhenItsQRCodeIsOpened()
{
    if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty())
        QSKIP("Node.js is not installed");
    m_client->state().weixinLogins.scannedAfter = 24h;
    unpack();
    QProcess node;
    QString output;
    startLogin(node);
    QTRY_VERIFY2_WITH_TIMEOUT(
        (output += QString::fromUtf8(node.readAllStandardOutput())).contains(QStringLiteral("等待扫码")),
        node.readAllStandardError().constData(), 60000);
    const QByteArray address = scannedFrom(output);
    QVERIFY2(address.startsWith(m_client->origin() + "/weixin/scan?id="), address.constData());
    QCOMPARE(node.state(), QProcess::Running);
    QCOMPARE(m_client->get(address.sliced(m_client->origin().size())).status, 200);
    QTRY_COMPARE_WITH_TIMEOUT(node.state(), QProcess::NotRunning, 60000);
    QCOMPARE(node.exitCode(), 0);
    QCOMPARE(node.readAllStandardOutput(),
             "login success\n"
             R"({"channels":{"qqbot":{"appId":"1"},"openclaw-weixin":{"enabled":true}},"accounts":["wx-local-10001"]})"
             "\n");
    const JSON accounts = JSON::parse(contentOf(path(".openclaw/openclaw-weixin/accounts.json")).toStdString());
    QVERIFY(accounts == JSON::array({"wx-local-10001"}));
}

void tst_WeixinPlugin::loginCountsAsScannedAfterAWhile()
{
    const JSON begun = m_client->send("POST", LoginPath).json();
    const QByteArray state = QByteArray(LoginPath) + "?id=" + begun["data"]["id"].get<std::string>().c_str();
    QCOMPARE(m_client->get(state).body, R"({"code":0,"message":"ok","data":{"state":"waiting"}})");
    m_client->state().weixinLogins.scannedAfter = 0ms;
    QCOMPARE(m_client->get(state).body,
             R"({"code":0,"message":"ok","data":{"state":"scanned","accountId":"wx-local-10001"}})");
}

void tst_WeixinPlugin::refusedLoginFailsAndKeepsNothing_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("no QR code") << QByteArray("POST") << QByteArray(R"({"message":"服务繁忙"})")
                                << QByteArray("服务繁忙");
    QTest::newRow("refused by the phone")
        << QByteArray("GET") << QByteArray(R"({"message":"用户拒绝登录"})") << QByteArray("用户拒绝登录");
    QTest::newRow("broken answer") << QByteArray("GET") << QByteArray("<html>") << QByteArray("SyntaxError");
}

void tst_WeixinPlugin::refusedLoginFailsAndKeepsNothing()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, message);
    if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty())
        QSKIP("Node.js is not installed");
    m_client->server().faults().set(method, QLatin1String(LoginPath), {.status = 403, .body = body});
    unpack();
    QProcess node;
    startLogin(node);
    QTRY_COMPARE_WITH_TIMEOUT(node.state(), QProcess::NotRunning, 60000);
    QCOMPARE(node.exitCode(), 1);
    const QByteArray errors = node.readAllStandardError();
    QVERIFY2(errors.contains(message), errors.constData());
    QVERIFY(!node.readAllStandardOutput().contains("success"));
    QVERIFY(!QFile::exists(path(".openclaw")));
}

void tst_WeixinPlugin::unknownLoginsAreNotFound()
{
    for (const char *path : {"/weixin/login?id=none", "/weixin/scan?id=none"})
        QCOMPARE(m_client->get(path).status, 404);
}

QTEST_GUILESS_MAIN(tst_WeixinPlugin)
#include "tst_WeixinPlugin.moc"
