// What is read and written in the agents' own folders.

#include "Services/HermesService.h"
#include "Services/OpenClawService.h"
#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QDir>
#include <QFileInfo>

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
    void failedWriteIsTold();
    void hermesQuestions_data();
    void hermesQuestions();
    void hermesApprovals_data();
    void hermesApprovals();
    void hermesLeavesAloneWhatItCannotRead();
};

void tst_AgentServices::openClawConfig_data()
{
    const auto row = columns<qint64, QString, QByteArray>("port", "modelPath", "document");

    row("initial", 8080, {}, R"({"port":8080,"modelPath":""})");
    row("slashes", -1, u"/a/b"_s, R"({"port":-1,"modelPath":"\/a\/b"})");
    row("quotes, Chinese, the largest port", std::numeric_limits<qint64>::max(), u"模型 \"7B\"\n"_s,
        R"({"port":9223372036854775807,"modelPath":"模型 \"7B\"\n"})");
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
    const auto row = columns<QByteArray, bool>("document", "isDisabled");
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
    const auto row = columns<QByteArray, bool>("document", "isConnected");

    row("a list", R"(["a"])", true);
    row("an empty list", "[]", false);
    row("ids", R"({"ids":["x"]})", true);
    row("no ids", R"({"ids":[]})", false);
    row("ids are a text", R"({"ids":"x"})", false);
    row("other key", R"({"accounts":["x"]})", false);
    row("numbers", "[1,2]", false);
    row("a number among texts", R"(["a",1])", false);
    row("a text", R"("a")", false);
    row("broken", R"(["a")", false);
    row("empty", "", false);
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

void tst_AgentServices::failedWriteIsTold()
{
    const auto complaint = [](const QString &home) {
        const auto result = OpenClawService(Folders::under(home)).disableApprovals();
        return result ? QString() : result.error().description;
    };
    QVERIFY(complaint(u"/proc/1"_s).startsWith(u"无法写入 /proc/1"_s)); // takes no files
    QVERIFY(complaint(u"/dev/full"_s).startsWith(u"无法写入 /dev/full"_s));
    QVERIFY(complaint(u"/dev/full"_s).endsWith(u"路径中有一级不是文件夹"_s));
}

void tst_AgentServices::hermesQuestions_data()
{
    const auto row = columns<QByteArray, QString>("text", "answers");
    row("nothing", "model: hermes\n", u""_s);
    row("in a comment", "# telegram comes later\n", u"telegram"_s);
    row("capital letter", "Telegram: 1\nDISCORD: 1\n", u""_s);
    row("all, with CRLF and without a last line end", "discord:\r\n  x: 1\r\ntelegram:\r\nwecom: 1",
        u"telegram discord weixin"_s);
    row("weixin", "platforms: [weixin]\n", u"weixin"_s);
    row("off in double quotes", "approvals:\n  mode: \"off\"\n", u"off"_s);
    row("off in single quotes", "approvals:\n  mode: 'off'\n", u"off"_s);
    row("off without quotes", "approvals:\n  mode: off\n", u""_s);
    row("off without a space", "approvals:\n  mode:\"off\"\n", u""_s);
    row("not UTF-8", "telegram \xff discord", u""_s);
    row("10 MB", QByteArray("key: value # 注释\n").repeated(600'000) + "discord: 1", u"discord"_s);
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
    const auto row = columns<QByteArray, QByteArray>("before", "after");
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
