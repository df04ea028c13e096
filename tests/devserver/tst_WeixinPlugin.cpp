#include "Client.h"
#include "Support/ScannedCode.h"
#include "Support/Table.h"

#include <QDir>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <memory>

using namespace Qt::StringLiterals;
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

JSON parsedFile(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? JSON::parse(file.readAll().toStdString()) : JSON();
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
    QCOMPARE(QProcess::execute(u"unzip"_s, {u"-qo"_s, file.fileName(), u"-d"_s, m_home->path()}), 0);
}

void tst_WeixinPlugin::startLogin(QProcess &node)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, m_home->path());
    environment.remove(u"OPENCLAW_STATE_DIR"_s);
    node.setProcessEnvironment(environment);
    node.setWorkingDirectory(m_home->path());
    node.start(u"node"_s, {u"--input-type=module"_s, u"-e"_s, QLatin1String(Host)});
    QVERIFY2(node.waitForStarted(), "node (packages nodejs and npm)");
}

void tst_WeixinPlugin::archiveHoldsThePluginForTheHostThatWasAsked()
{
    unpack();
    QCOMPARE(QDir(path("openclaw-weixin")).entryList(QDir::Files),
             (QStringList{u"index.js"_s, u"openclaw.plugin.json"_s, u"package.json"_s, u"server.json"_s}));
    const JSON server = parsedFile(path("openclaw-weixin/server.json"));
    QVERIFY(server["origin"] == m_client->origin().toStdString());
    const JSON manifest = parsedFile(path("openclaw-weixin/openclaw.plugin.json"));
    const JSON package = parsedFile(path("openclaw-weixin/package.json"));
    QVERIFY(manifest["channels"][0] == "openclaw-weixin");
    QVERIFY(package["openclaw"]["channel"]["id"] == manifest["id"]);
    QVERIFY(package["openclaw"]["extensions"][0] == "./index.js");
}

void tst_WeixinPlugin::loginEndsWhenItsQRCodeIsOpened()
{
    m_client->state().weixinLogins.scannedAfter = 24h;
    unpack();
    QProcess node;
    QString output;
    startLogin(node);
    QTRY_VERIFY2_WITH_TIMEOUT((output += QString::fromUtf8(node.readAllStandardOutput())).contains(u"等待扫码"_s),
                              node.readAllStandardError().constData(), 60000);
    const QByteArray address = scannedCode(drawn(output.section(u"\n\n"_s, 1, 1).split(u'\n'))).toUtf8();
    QVERIFY2(address.startsWith(m_client->origin() + "/weixin/scan?id="), address.constData());
    QCOMPARE(node.state(), QProcess::Running);
    QCOMPARE(m_client->get(address.sliced(m_client->origin().size())).status, 200);
    QTRY_COMPARE_WITH_TIMEOUT(node.state(), QProcess::NotRunning, 60000);
    QCOMPARE(node.exitCode(), 0);
    QCOMPARE(node.readAllStandardOutput(),
             "login success\n"
             R"({"channels":{"qqbot":{"appId":"1"},"openclaw-weixin":{"enabled":true}},"accounts":["wx-local-10001"]})"
             "\n");
    const JSON accounts = parsedFile(path(".openclaw/openclaw-weixin/accounts.json"));
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
    const auto row = columns<QByteArray, QByteArray, QByteArray>("method", "body", "message");
    row("no QR code", "POST", R"({"message":"服务繁忙"})", "服务繁忙");
    row("refused by the phone", "GET", R"({"message":"用户拒绝登录"})", "用户拒绝登录");
    row("broken answer", "GET", "<html>", "SyntaxError");
}

void tst_WeixinPlugin::refusedLoginFailsAndKeepsNothing()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, message);
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
