// The agents' buttons and sheets in the real window, on the local server's page and with a program of
// the test in the agent's place.

#include "DevServer.h"
#include "Screens.h"
#include "Support/ScannedCode.h"
#include "Support/Table.h"
#include "Views/Software/QQBotPage.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString appId = u"1029384756"_s;
const QString approvalsWarning =
    u"关闭后，AI 将可直接执行所有工具调用（联网搜索、运行命令、读写文件等），无需每次人工确认。\n\n"
    u"⚠️ 风险提示：如本机存有重要数据、敏感文件或用于生产环境，请勿关闭此保护。"_s;
const QString secret = u"Kq7ZtB2xWm94LrVfYd81NcHs0PjEa6Ug"_s;

SoftwareCatalog::Entries entries()
{
    SoftwareCatalogEntry claw = testEntry(u"openclaw"_s);
    claw.name = u"OpenClaw"_s;
    claw.configCommand = u"true"_s;
    claw.qqbotInstallCommand = u"echo 插件"_s;
    claw.weixinInstallCommand = u"echo 插件"_s;
    SoftwareCatalogEntry hermes = testEntry(u"hermes"_s);
    hermes.name = u"Hermes Agent"_s;
    return {claw, hermes, testEntry(u"tool"_s)};
}

} // namespace

class tst_AgentScreens : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void buttonsOfTheAgents_data();
    void buttonsOfTheAgents();
    void whatHermesCannotDo_data();
    void whatHermesCannotDo();
    void connectionsAreReadWhenTheDetailIsShown();
    void switchingOffApprovalsAsksFirst();
    void theConfigurationSheet();
    void theGatewaySheetOfHermes();
    void aBotIsFoundOnThePage_data();
    void aBotIsFoundOnThePage();
    void aBotIsConnected();
    void pagesThatDoNotLoadCanBeRetried();
    void messagesOfThePage_data();
    void messagesOfThePage();
    void theCodeOfWeChatCanBeScanned();
    void aFailedWeChatLoginCanBeRetried();
    void aClosedSheetShowsTheSameRunAgain();

private:
    void writeAgent(const QByteArray &script) const;
    void openDetail(const QString &name) const;

    std::unique_ptr<devserver::DevServer> m_server;
    std::unique_ptr<Screens> m_screens;
};

void tst_AgentScreens::initTestCase()
{
    m_server = std::make_unique<devserver::DevServer>(devserver::ServerState());
    const auto origin = m_server->start(0);
    QVERIFY(origin);
    qputenv("VAELIX_SERVER_ORIGIN", origin->toUtf8());
}

void tst_AgentScreens::init()
{
    Screens::warnings.clear();
    m_screens = std::make_unique<Screens>();
}

void tst_AgentScreens::cleanup()
{
    m_screens.reset();
    QCOMPARE(Screens::warnings, QStringList());
}

/// Puts a program in OpenClaw's place; nothing that it or a command line does can end another program.
void tst_AgentScreens::writeAgent(const QByteArray &script) const
{
    m_screens->scratch.writeProgram(u".openclaw/bin/openclaw"_s,
                                    "#!/bin/sh\necho \"$*\" >> \"$HOME/calls\"\n" + script);
    m_screens->scratch.write(u".zprofile"_s,
                             "export PATH=~/.openclaw/bin:$PATH\n"
                             "sleep() { }\npkill() { }\nlsof() { }\nkill() { }\n");
}

void tst_AgentScreens::openDetail(const QString &name) const
{
    m_screens->openSoftware(entries());
    m_screens->select(name);
    m_screens->setStatus(m_screens->viewModel.selectedSoftware()->id(), SoftwareStatus::Installed);
}

void tst_AgentScreens::buttonsOfTheAgents_data()
{
    const auto row =
        columns<QString, SoftwareStatus::Value, bool, QString>("name", "status", "areConnected", "buttons");
    row("installed", u"OpenClaw"_s, SoftwareStatus::Installed, false,
        u"已安装 启动 配置 打开对话 接入微信 接入QQ 关闭询问 升级 卸载"_s);
    row("connected", u"OpenClaw"_s, SoftwareStatus::Running, true,
        u"已安装 停止 配置 打开对话 已接入微信 已接入QQ 已关闭询问 升级 卸载"_s);
    row("not installed", u"OpenClaw"_s, SoftwareStatus::NotInstalled, false,
        u"安装 -配置 -打开对话 -接入微信 -接入QQ -关闭询问 -升级 -卸载"_s);
    row("Hermes", u"Hermes Agent"_s, SoftwareStatus::Stopped, false,
        u"已安装 启动 打开对话 接入微信 接入QQ 关闭询问 升级 卸载"_s);
    row("no agent", u"TOOL"_s, SoftwareStatus::Installed, true, u"已安装 启动 升级 卸载"_s);
}

void tst_AgentScreens::buttonsOfTheAgents()
{
    QFETCH(QString, name);
    QFETCH(SoftwareStatus::Value, status);
    QFETCH(bool, areConnected);
    if (areConnected) {
        m_screens->scratch.write(u".openclaw/qqbot"_s, {});
        m_screens->scratch.write(u".openclaw/openclaw-weixin/accounts.json"_s, R"(["a"])");
        m_screens->scratch.write(u".hermes/config.yaml"_s, "mode: \"off\"");
    }
    openDetail(name);
    m_screens->setStatus(m_screens->viewModel.selectedSoftware()->id(), status);
    QTEST(m_screens->detailButtons(), "buttons");
}

void tst_AgentScreens::whatHermesCannotDo_data()
{
    const auto row = columns<QString, QString>("button", "message");
    row("WeChat", u"接入微信"_s, u"Hermes Agent 暂不支持接入微信，敬请期待后续版本更新。"_s);
    row("QQ", u"接入QQ"_s, u"Hermes Agent 暂不支持接入QQ，敬请期待后续版本更新。"_s);
    row("upgrade", u"升级"_s, u"Hermes Agent 暂不支持在此处升级，敬请期待后续版本更新。"_s);
}

void tst_AgentScreens::whatHermesCannotDo()
{
    QFETCH(QString, button);
    QFETCH(QString, message);
    openDetail(u"Hermes Agent"_s);
    m_screens->click(m_screens->button(button));
    QTRY_VERIFY(m_screens->alert(u"暂不支持"_s));
    QVERIFY(m_screens->shows(message));
    QVERIFY(!m_screens->viewModel.isOperating());
}

void tst_AgentScreens::connectionsAreReadWhenTheDetailIsShown()
{
    openDetail(u"OpenClaw"_s);
    m_screens->scratch.write(u".openclaw/qqbot"_s, {});
    m_screens->scratch.write(u".openclaw/openclaw-weixin/accounts.json"_s, R"({"ids": ["a"]})");
    QVERIFY(m_screens->button(u"接入QQ"_s));
    m_screens->click(m_screens->button(u"仪表盘"_s));
    m_screens->click(m_screens->button(u"AI 软件"_s));
    QTRY_VERIFY(m_screens->button(u"已接入QQ"_s));
    for (const auto &[button, title] :
         {std::pair(u"已接入QQ"_s, u"重新接入QQ"_s), std::pair(u"已接入微信"_s, u"重新接入微信"_s)}) {
        m_screens->click(m_screens->button(button));
        QTRY_VERIFY(m_screens->alert(title) && m_screens->button(u"重新接入"_s)->hasActiveFocus());
        m_screens->press(Qt::Key_Escape);
        QTRY_VERIFY(!m_screens->alert(title));
    }
}

void tst_AgentScreens::switchingOffApprovalsAsksFirst()
{
    writeAgent({});
    m_screens->scratch.write(u".openclaw/logs/gateway.log"_s, {});
    openDetail(u"OpenClaw"_s);
    m_screens->click(m_screens->button(u"关闭询问"_s));
    QTRY_VERIFY(m_screens->button(u"确认关闭"_s) && m_screens->button(u"确认关闭"_s)->hasActiveFocus());
    QVERIFY(m_screens->shows(approvalsWarning
                             + u"一旦因关闭审批导致数据丢失、文件被修改或系统异常，责任由使用者自行承担，与本软件无关。"
                               u"\n\n仅建议在专用、受信任的私有设备上使用。"_s));
    m_screens->press(Qt::Key_Escape);
    QTRY_VERIFY(!m_screens->button(u"确认关闭"_s));
    QVERIFY(!m_screens->viewModel.isApprovalsDisabled());

    m_screens->click(m_screens->button(u"关闭询问"_s));
    QTRY_VERIFY(m_screens->button(u"确认关闭"_s));
    m_screens->settle();
    m_screens->click(m_screens->button(u"确认关闭"_s));
    QTRY_VERIFY(m_screens->button(u"已关闭询问"_s));
    QTRY_COMPARE(m_screens->scratch.read(u"calls"_s), "gateway\n");
    QTRY_VERIFY(!m_screens->alert(u"关闭工具调用询问"_s));
    m_screens->click(m_screens->button(u"已关闭询问"_s));
    m_screens->settle();
    QVERIFY(!m_screens->alert(u"关闭工具调用询问"_s));

    m_screens->select(u"Hermes Agent"_s);
    QFile::remove(m_screens->scratch.path(u".openclaw/exec-approvals.json"_s));
    m_screens->viewModel.checkApprovalsStatus();
    m_screens->setStatus(u"hermes"_s, SoftwareStatus::Installed);
    m_screens->click(m_screens->button(u"关闭询问"_s));
    QTRY_VERIFY(m_screens->shows(approvalsWarning + u"\n\n设置后请重新打开对话使配置生效。"_s));
}

void tst_AgentScreens::theConfigurationSheet()
{
    openDetail(u"OpenClaw"_s);
    m_screens->click(m_screens->button(u"端口与模型"_s));
    QTRY_VERIFY(m_screens->element(QAccessible::EditableText, u"监听端口"_s));
    m_screens->settle();
    QQuickItem *const port = m_screens->element(QAccessible::EditableText, u"监听端口"_s);
    QCOMPARE(port->property("text").toString(), u"8080"_s);
    port->setProperty("text", QString());
    m_screens->click(port);
    m_screens->type(u"18789x"_s);
    QCOMPARE(m_screens->viewModel.openClawConfig().port, 8080);
    m_screens->press(Qt::Key_Backspace);
    QCOMPARE(m_screens->viewModel.openClawConfig().port, 18789);
    m_screens->click(m_screens->element(QAccessible::EditableText, u"模型路径"_s));
    m_screens->type(u"/models/千问"_s);
    m_screens->click(m_screens->button(u"取消"_s));
    QTRY_VERIFY(!m_screens->viewModel.showOpenClawConfig());
    QVERIFY(!QFile::exists(m_screens->scratch.path(u".openclaw/config.json"_s)));

    m_screens->settle();
    m_screens->click(m_screens->button(u"端口与模型"_s));
    QTRY_VERIFY(m_screens->button(u"保存"_s));
    m_screens->settle();
    m_screens->click(m_screens->button(u"保存"_s));
    QTRY_VERIFY(!m_screens->viewModel.showOpenClawConfig());
    QCOMPARE(m_screens->scratch.read(u".openclaw/config.json"_s),
             QByteArray(R"({"port":18789,"modelPath":"\/models\/千问"})"));
}

void tst_AgentScreens::theGatewaySheetOfHermes()
{
    m_screens->scratch.write(u".hermes/config.yaml"_s, "gateway:\n  telegram: {}\n");
    m_screens->scratch.write(u".zprofile"_s,
                             "hermes() { echo hermes $*; echo discord >> ~/.hermes/config.yaml; "
                             "while [[ ! -e ~/go ]] { sleep 0.05 } }\n");
    openDetail(u"Hermes Agent"_s);
    m_screens->click(m_screens->button(u"平台接入"_s));
    QTRY_VERIFY(m_screens->element(QAccessible::ListItem, u"Telegram，已接入"_s));
    QVERIFY(m_screens->element(QAccessible::ListItem, u"Discord，未接入"_s));
    QVERIFY(m_screens->element(QAccessible::ListItem, u"微信，未接入"_s));
    QVERIFY(!m_screens->element(QAccessible::Pane, u"Hermes Gateway"_s));
    m_screens->settle();
    m_screens->click(m_screens->button(u"配置网关"_s));
    QTRY_VERIFY(m_screens->element(QAccessible::Pane, u"Hermes Gateway"_s));
    QVERIFY(!m_screens->button(u"配置网关"_s)->isEnabled() && !m_screens->button(u"启动网关"_s)->isEnabled());
    m_screens->scratch.write(u"go"_s, {});
    QTRY_VERIFY(m_screens->element(QAccessible::ListItem, u"Discord，已接入"_s));
    QTRY_VERIFY(m_screens->button(u"启动网关"_s)->isEnabled());
    m_screens->settle();
    m_screens->click(m_screens->button(u"启动网关"_s));
    QTRY_VERIFY(m_screens->shows(u"没有找到终端程序，请安装一个终端后重试"_s));
}

void tst_AgentScreens::aBotIsFoundOnThePage_data()
{
    using devserver::QQBotShow;
    const auto row = columns<QQBotShow>("show");
    row("text", QQBotShow::Text);
    row("attributes", QQBotShow::Attributes);
    row("a frame inside the page", QQBotShow::IFrame);
    row("late", QQBotShow::Late);
}

void tst_AgentScreens::aBotIsFoundOnThePage()
{
    QFETCH(devserver::QQBotShow, show);
    m_server->state().qqBot = {.isCreated = true, .show = show};
    openDetail(u"OpenClaw"_s);
    m_screens->click(m_screens->button(u"接入QQ"_s));
    QTRY_VERIFY_WITH_TIMEOUT(m_screens->alert(u"检测到机器人凭证"_s), 60000);
    QVERIFY(m_screens->shows(u"APPID: 1029384756\nAPPSECRET: Kq7ZtB2x...\n\n是否将此机器人接入 OpenClaw？"_s));
    QCOMPARE(m_screens->viewModel.qqBotConnection()->detectedAppSecret(), secret);
}

void tst_AgentScreens::aBotIsConnected()
{
    writeAgent({});
    m_server->state().qqBot = {.isCreated = false};
    openDetail(u"OpenClaw"_s);
    QSignalSpy detected(m_screens->viewModel.qqBotConnection(), &QQBotConnectViewModel::detected);
    m_screens->click(m_screens->button(u"接入QQ"_s));
    const auto page = [this] { return m_screens->webPage(); };
    QTRY_VERIFY_WITH_TIMEOUT(page() && page()->isVisible(), 60000);
    QCOMPARE(detected.count(), 0);
    const auto follow = [&](const char *address) {
        page()->setProperty("url", QUrl(qEnvironmentVariable("VAELIX_SERVER_ORIGIN") + QLatin1String(address)));
    };
    follow("/qqbot/openclaw/index.html?show=text");
    QTRY_VERIFY_WITH_TIMEOUT(m_screens->alert(u"检测到机器人凭证"_s), 60000);
    QCOMPARE(detected.count(), 1);
    // The page goes on while the question is open: its bot replaces the one asked about.
    m_server->state().qqBot.appId = u"99887766"_s;
    follow("/qqbot/openclaw/index.html?show=attributes");
    QTRY_COMPARE_WITH_TIMEOUT(detected.count(), 2, 60000);
    QTRY_VERIFY(m_screens->shows(u"APPID: 99887766\nAPPSECRET: Kq7ZtB2x...\n\n是否将此机器人接入 OpenClaw？"_s));
    m_screens->press(Qt::Key_Escape);
    QTRY_VERIFY(!m_screens->alert(u"检测到机器人凭证"_s));
    QVERIFY(page()->isVisible());

    m_screens->viewModel.qqBotConnection()->takeCredentials(appId, secret);
    QTRY_VERIFY(m_screens->button(u"接入"_s) && m_screens->button(u"接入"_s)->hasActiveFocus());
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(m_screens->alert(u"接入成功"_s));
    QVERIFY(!page());
    QVERIFY(m_screens->scratch.read(u"calls"_s)
                .startsWith("channels add --channel qqbot --token 1029384756:" + secret.toUtf8()));
    QTRY_VERIFY(m_screens->button(u"完成"_s)->hasActiveFocus());
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(!m_screens->alert(u"接入成功"_s));
    QVERIFY(m_screens->button(u"接入QQ"_s));
    m_screens->scratch.write(u".openclaw/qqbot"_s, {}); // as the agent's gateway does, in its own time
    QTRY_VERIFY(m_screens->button(u"已接入QQ"_s));
}

void tst_AgentScreens::pagesThatDoNotLoadCanBeRetried()
{
    m_server->faults().set("GET", u"/qqbot/openclaw/index.html"_s, {.drop = devserver::Drop::BeforeAnswer});
    m_server->state().qqBot = {.isCreated = true};
    openDetail(u"OpenClaw"_s);
    m_screens->click(m_screens->button(u"接入QQ"_s));
    QTRY_VERIFY_WITH_TIMEOUT(m_screens->shows(u"无法打开 QQ 机器人页面"_s), 60000);
    m_server->faults().clear();
    m_screens->click(m_screens->button(u"重试"_s));
    QTRY_VERIFY_WITH_TIMEOUT(m_screens->alert(u"检测到机器人凭证"_s), 60000);
}

void tst_AgentScreens::messagesOfThePage_data()
{
    // message: %1 stands for the mark
    const auto row = columns<QString, bool>("message", "isTaken");
    row("credentials", uR"(%1{"appId":"1","appSecret":"2"})"_s, true);
    row("without the mark", uR"({"appId":"1","appSecret":"2"})"_s, false);
    row("another mark", uR"(credentials:00:{"appId":"1","appSecret":"2"})"_s, false);
    row("after the mark of somebody else", uR"(x%1{"appId":"1","appSecret":"2"})"_s, false);
    row("no secret", uR"(%1{"appId":"1"})"_s, false);
    row("a number", uR"(%1{"appId":1,"appSecret":"2"})"_s, false);
    row("no object", uR"(%1["1","2"])"_s, false);
    row("no JSON", uR"(%1hello)"_s, false);
}

void tst_AgentScreens::messagesOfThePage()
{
    QFETCH(QString, message);
    QFETCH(bool, isTaken);
    QQBotPage page;
    QSignalSpy detected(&page, &QQBotPage::credentialsDetected);
    const auto mark = QRegularExpression(u"credentials:[0-9a-f]{32}:"_s).match(page.credentialScript());
    QVERIFY(mark.hasMatch());
    page.takeMessage(message.contains(u"%1"_s) ? message.arg(mark.captured()) : message);
    QCOMPARE(detected.count(), isTaken ? 1 : 0);
    if (isTaken)
        QCOMPARE(detected.first(), QVariantList({u"1"_s, u"2"_s}));
}

void tst_AgentScreens::theCodeOfWeChatCanBeScanned()
{
    const char address[] = "https://liteapp.weixin.example/q/7GiQu1?qrcode=8f3c1d0a7e&bot_type=3";
    m_screens->scratch.write(u"code"_s, codeAsText(address));
    writeAgent("[ \"$1 $2\" = 'channels login' ] || exit 0\n"
               "printf '\\033[32m'; cat \"$HOME/code\"; printf '\\033[0m'\n"
               "while [ ! -e \"$HOME/go\" ]; do /bin/sleep 0.05; done\n"
               "mkdir -p \"$HOME/.openclaw/openclaw-weixin\"\n"
               "echo '[\"wx\"]' > \"$HOME/.openclaw/openclaw-weixin/accounts.json\"\necho login success\n");
    openDetail(u"OpenClaw"_s);
    m_screens->click(m_screens->button(u"接入微信"_s));
    QTRY_VERIFY(m_screens->alert(u"请用微信扫描下方二维码..."_s));
    QTRY_VERIFY(m_screens->viewModel.weChatConnection()->output()->text().contains("▀▄"));
    m_screens->settle();

    QTRY_COMPARE(scannedCode(m_screens->window->grabWindow()), QLatin1String(address)); // once all of it is drawn

    m_screens->scratch.write(u"go"_s, {});
    QTRY_VERIFY(m_screens->alert(u"接入成功"_s));
    QTRY_VERIFY(m_screens->button(u"完成"_s)->hasActiveFocus());
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(m_screens->button(u"已接入微信"_s));
    QTRY_VERIFY(m_screens->viewModel.weChatConnection()->output()->text().contains("检查网关状态"));
}

void tst_AgentScreens::aFailedWeChatLoginCanBeRetried()
{
    writeAgent("[ \"$2\" != login ] || { cat \"$HOME/fixed\" || exit 1; }\n");
    openDetail(u"OpenClaw"_s);
    m_screens->click(m_screens->button(u"接入微信"_s));
    QTRY_VERIFY(m_screens->alert(u"接入失败"_s));
    m_screens->scratch.write(u"fixed"_s, "好了\n");
    m_screens->settle();
    m_screens->click(m_screens->button(u"重试"_s));
    QTRY_VERIFY(m_screens->alert(u"接入成功"_s));
}

void tst_AgentScreens::aClosedSheetShowsTheSameRunAgain()
{
    // An agent that floods the pane until it is told to end.
    writeAgent("[ \"$2\" != login ] || while [ ! -e \"$HOME/go\" ]; do seq 1000; done\n");
    openDetail(u"OpenClaw"_s);
    m_screens->click(m_screens->button(u"接入微信"_s));
    WeChatConnectViewModel *const connection = m_screens->viewModel.weChatConnection();
    QTRY_VERIFY(connection->output()->text().size() > 100000);
    m_screens->press(Qt::Key_Escape);
    QTRY_VERIFY(!m_screens->alert(u"请用微信扫描下方二维码..."_s));
    QTRY_VERIFY(m_screens->button(u"接入微信"_s)->isEnabled());
    m_screens->click(m_screens->button(u"接入微信"_s));
    QTRY_VERIFY(m_screens->alert(u"请用微信扫描下方二维码..."_s));
    m_screens->scratch.write(u"go"_s, {});
    QTRY_VERIFY(m_screens->alert(u"接入成功"_s));
    QCOMPARE(m_screens->scratch.read(u"calls"_s).count("channels login"), 1);
    QTRY_VERIFY(connection->output()->text().contains("检查网关状态"));
}

QTEST_MAIN(tst_AgentScreens)
#include "tst_AgentScreens.moc"
