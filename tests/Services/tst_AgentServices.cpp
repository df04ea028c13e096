// What is read and written in the agents' own folders.

#include "Services/HermesService.h"
#include "Services/OpenClawService.h"
#include "Support/Scratch.h"

#include <QDir>
#include <QFileInfo>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray approvalsOff = "{\n"
                                "  \"version\": 1,\n"
                                "  \"defaults\": {\n"
                                "    \"security\": \"full\",\n"
                                "    \"ask\": \"off\",\n"
                                "    \"autoAllowSkills\": true\n"
                                "  }\n"
                                "}";
const QByteArray approvalsBlock = "\n# 关闭工具调用询问（等同 --yolo）\napprovals:\n  mode: \"off\"\n";
const QString hermesFile = u".hermes/config.yaml"_s;

QStringList filesIn(const Scratch &scratch, const QString &folder)
{
    return QDir(scratch.path(folder)).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

} // namespace

class tst_AgentServices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void openClawConfig_data();
    void openClawConfig();
    void openClawApprovals_data();
    void openClawApprovals();
    void openClawWeChat_data();
    void openClawWeChat();
    void openClawQQ();
    void writingReplacesWhatStandsThere();
    void failedWriteLosesNothing_data();
    void failedWriteLosesNothing();
    void hermesQuestions_data();
    void hermesQuestions();
    void hermesApprovals_data();
    void hermesApprovals();
    void hermesLeavesAloneWhatItCannotRead();
};

void tst_AgentServices::openClawConfig_data()
{
    QTest::addColumn<qint64>("port");
    QTest::addColumn<QString>("modelPath");
    QTest::addColumn<QByteArray>("document");

    QTest::newRow("initial") << qint64(8080) << QString() << QByteArray(R"({"port":8080,"modelPath":""})");
    QTest::newRow("slashes") << qint64(-1) << u"/a/b"_s << QByteArray(R"({"port":-1,"modelPath":"\/a\/b"})");
    QTest::newRow("quotes, Chinese, the largest port")
        << std::numeric_limits<qint64>::max() << u"模型 \"7B\"\n"_s
        << QByteArray(R"({"port":9223372036854775807,"modelPath":"模型 \"7B\"\n"})");
}

void tst_AgentServices::openClawConfig()
{
    QFETCH(qint64, port);
    QFETCH(QString, modelPath);
    const Scratch scratch;
    const OpenClawService service(scratch.folders);
    QVERIFY(service.writeConfig({.port = port, .modelPath = modelPath}));
    QTEST(scratch.read(u".openclaw/config.json"_s), "document");
    QCOMPARE(filesIn(scratch, u".openclaw"_s), QStringList{u"config.json"_s});
}

void tst_AgentServices::openClawApprovals_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<bool>("isDisabled");

    const auto row = [](const char *name, const QByteArray &document, bool isDisabled) {
        QTest::newRow(name) << document << isDisabled;
    };
    row("no file", QByteArray(), false);
    row("off", R"({"defaults":{"security":"full","ask":"off"}})", true);
    row("asks always", R"({"defaults":{"security":"full","ask":"always"}})", false);
    row("upper case", R"({"defaults":{"security":"FULL","ask":"off"}})", false);
    row("restricted", R"({"defaults":{"security":"allowlist","ask":"off"}})", false);
    row("no security", R"({"defaults":{"ask":"off"}})", false);
    row("not a text", R"({"defaults":{"security":"full","ask":false}})", false);
    row("no defaults", R"({"security":"full","ask":"off"})", false);
    row("defaults are a list", R"({"defaults":["full","off"]})", false);
    row("a list", R"([{"defaults":{"security":"full","ask":"off"}}])", false);
    row("cut off", R"({"defaults":{"security":"full","ask":"off"})", false);
}

void tst_AgentServices::openClawApprovals()
{
    QFETCH(QByteArray, document);
    const Scratch scratch;
    const QString file = u".openclaw/exec-approvals.json"_s;
    if (!document.isEmpty())
        scratch.write(file, document);
    const OpenClawService service(scratch.folders);
    QTEST(service.isApprovalsDisabled(), "isDisabled");

    QVERIFY(service.disableApprovals());
    QCOMPARE(scratch.read(file), approvalsOff);
    QCOMPARE(scratch.read(file).size(), 109);
    QVERIFY(service.isApprovalsDisabled());
}

void tst_AgentServices::openClawWeChat_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<bool>("isConnected");

    QTest::newRow("a list") << QByteArray(R"(["a"])") << true;
    QTest::newRow("an empty list") << QByteArray("[]") << false;
    QTest::newRow("ids") << QByteArray(R"({"ids":["x"]})") << true;
    QTest::newRow("no ids") << QByteArray(R"({"ids":[]})") << false;
    QTest::newRow("ids are a text") << QByteArray(R"({"ids":"x"})") << false;
    QTest::newRow("other key") << QByteArray(R"({"accounts":["x"]})") << false;
    QTest::newRow("numbers") << QByteArray("[1,2]") << false;
    QTest::newRow("a number among texts") << QByteArray(R"(["a",1])") << false;
    QTest::newRow("a text") << QByteArray(R"("a")") << false;
    QTest::newRow("broken") << QByteArray(R"(["a")") << false;
    QTest::newRow("empty") << QByteArray("") << false;
}

void tst_AgentServices::openClawWeChat()
{
    QFETCH(QByteArray, document);
    const Scratch scratch;
    QVERIFY(!OpenClawService(scratch.folders).isWeChatConnected());
    scratch.write(u".openclaw/openclaw-weixin/accounts.json"_s, document);
    QTEST(OpenClawService(scratch.folders).isWeChatConnected(), "isConnected");
}

void tst_AgentServices::openClawQQ()
{
    for (const QString &name : {u".openclaw/qqbot"_s, u".openclaw/qqbot/settings"_s}) {
        const Scratch scratch;
        const OpenClawService service(scratch.folders);
        QVERIFY(!service.isQQBotConnected());
        scratch.write(name, {});
        QVERIFY(service.isQQBotConnected());
    }
}

void tst_AgentServices::writingReplacesWhatStandsThere()
{
    const Scratch scratch;
    const OpenClawService service(scratch.folders);
    scratch.write(u"elsewhere.json"_s, "precious");
    QVERIFY(QDir(scratch.home.path()).mkdir(u".openclaw"_s));
    QVERIFY(QFile::link(scratch.path(u"elsewhere.json"_s), scratch.path(u".openclaw/config.json"_s)));
    QVERIFY(service.writeConfig({}));
    QCOMPARE(scratch.read(u"elsewhere.json"_s), QByteArray("precious"));
    QVERIFY(!QFileInfo(scratch.path(u".openclaw/config.json"_s)).isSymLink());

    const QByteArray file = QFile::encodeName(scratch.path(u".openclaw/exec-approvals.json"_s));
    scratch.write(u".openclaw/exec-approvals.json"_s, "{}");
    QCOMPARE(::chmod(file, 0640), 0);
    QVERIFY(service.disableApprovals());
    struct stat status{};
    QCOMPARE(::stat(file, &status), 0);
    QCOMPARE(status.st_mode & 07777, mode_t(0640));
}

void tst_AgentServices::failedWriteLosesNothing_data()
{
    QTest::addColumn<QString>("home");
    QTest::addColumn<QString>("reason");

    QTest::newRow("home is a device") << u"/dev/full"_s << u"路径中有一级不是文件夹"_s;
    QTest::newRow("home takes no files") << u"/proc/1"_s << u""_s;
}

void tst_AgentServices::failedWriteLosesNothing()
{
    QFETCH(QString, home);
    QFETCH(QString, reason);
    const auto result = OpenClawService(Folders::under(home)).disableApprovals();
    QVERIFY(!result);
    QVERIFY2(result.error().description.startsWith(u"无法写入 "_s + home), qPrintable(result.error().description));
    QVERIFY2(result.error().description.endsWith(reason), qPrintable(result.error().description));
}

void tst_AgentServices::hermesQuestions_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("answers");

    const auto row = [](const char *name, const QByteArray &text, const char *answers) {
        QTest::newRow(name) << text << QString::fromLatin1(answers);
    };
    row("nothing", "model: hermes\n", "");
    row("in a comment", "# telegram comes later\n", "telegram");
    row("capital letter", "Telegram: 1\nDISCORD: 1\n", "");
    row("all, with CRLF and without a last line end", "discord:\r\n  x: 1\r\ntelegram:\r\nwecom: 1",
        "telegram discord weixin");
    row("weixin", "platforms: [weixin]\n", "weixin");
    row("off in double quotes", "approvals:\n  mode: \"off\"\n", "off");
    row("off in single quotes", "approvals:\n  mode: 'off'\n", "off");
    row("off without quotes", "approvals:\n  mode: off\n", "");
    row("off without a space", "approvals:\n  mode:\"off\"\n", "");
    row("not UTF-8", "telegram \xff discord", "");
    row("10 MB", QByteArray("key: value # 注释\n").repeated(600'000) + "discord: 1", "discord");
}

void tst_AgentServices::hermesQuestions()
{
    QFETCH(QByteArray, text);
    const Scratch scratch;
    const HermesService service(scratch.folders);
    const auto answers = [&service] {
        QStringList list;
        if (service.isTelegramConnected())
            list.append(u"telegram"_s);
        if (service.isDiscordConnected())
            list.append(u"discord"_s);
        if (service.isWeChatConnected())
            list.append(u"weixin"_s);
        if (service.isApprovalsDisabled())
            list.append(u"off"_s);
        return list.join(u' ');
    };
    QCOMPARE(answers(), QString());
    scratch.write(hermesFile, text);
    QTEST(answers(), "answers");
}

void tst_AgentServices::hermesApprovals_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    const auto row = [](const char *name, const QByteArray &before, const QByteArray &after) {
        QTest::newRow(name) << before << after;
    };
    row("empty", "", approvalsBlock);
    row("no block, no last line end", "model: x", "model: x" + approvalsBlock);
    row("no block, CRLF", "model: x\r\n# 中文\r\n", "model: x\r\n# 中文\r\n" + approvalsBlock);
    row("smart", "approvals:\n  mode: \"smart\"\nz: 1\n", "approvals:\n  mode: \"off\"\nz: 1\n");
    row("every place, under any key", "approvals:\n  mode: \"manual\"\nother:\n  mode: \"smart\"\n",
        "approvals:\n  mode: \"off\"\nother:\n  mode: \"off\"\n");
    row("other quotes stay", "approvals:\n  mode: manual\n  x: 'smart'\n",
        "approvals:\n  mode: manual\n  x: 'smart'\n");
    row("block in a comment counts", "# approvals: none\n", "# approvals: none\n");
    row("off already", "approvals:\n  mode: \"off\"\n", "approvals:\n  mode: \"off\"\n");
    const QByteArray large = QByteArray("key: value # 注释\n").repeated(500'000);
    row("10 MB", large, large + approvalsBlock);
    row("not UTF-8", "model: \xff\n", "model: \xff\n");
}

void tst_AgentServices::hermesApprovals()
{
    QFETCH(QByteArray, before);
    const Scratch scratch;
    scratch.write(hermesFile, before);
    const HermesService service(scratch.folders);
    for (int time = 0; time < 2; ++time) {
        QVERIFY(service.disableApprovals());
        QTEST(scratch.read(hermesFile), "after");
    }
    QCOMPARE(filesIn(scratch, u".hermes"_s), QStringList{u"config.yaml"_s});
}

void tst_AgentServices::hermesLeavesAloneWhatItCannotRead()
{
    const Scratch scratch;
    const HermesService service(scratch.folders);
    QVERIFY(service.disableApprovals());
    QVERIFY(!QFileInfo::exists(scratch.path(u".hermes"_s)));
    QVERIFY(QDir(scratch.home.path()).mkpath(hermesFile)); // a folder where the file should be
    QVERIFY(service.disableApprovals());
    QVERIFY(!service.isApprovalsDisabled());
    QCOMPARE(filesIn(scratch, u".hermes"_s), QStringList{u"config.yaml"_s});
}

QTEST_GUILESS_MAIN(tst_AgentServices)
#include "tst_AgentServices.moc"
