// What the software screens can do with the agents beyond installing and running them.

#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

const QString hermesFile = u".hermes/config.yaml"_s;
const QString approvalsFile = u".openclaw/exec-approvals.json"_s;

/// Both agents in a scratch home where no process can be ended, only noted.
struct Agents {
    Agents()
    {
        scratch.write(u".zprofile"_s,
                      "lsof() { print 4711 }\n"
                      "kill() { print -r - kill $* >> ~/calls }\n"
                      "sleep() { }\n"
                      "hermes() { print -r - hermes $* \"<$QUENDA_API_KEY>\"; "
                      "[[ ! -e ~/fails ]] || return 4 }\n");
        scratch.writeProgram(u".openclaw/bin/openclaw"_s, "#!/bin/sh\necho \"$*\" >> \"$HOME/calls\"\n");
        QDir().mkpath(scratch.path(u".openclaw/logs"_s));
        scratch.setCatalog({testEntry(u"openclaw"_s), testEntry(u"hermes"_s)});
        QCoro::waitFor(viewModel.loadData());
    }

    void select(const QString &id) { viewModel.setSelectedSoftware(viewModel.software(id)); }
    QString output() { return QString::fromUtf8(viewModel.terminalOutput()->text()); }

    Scratch scratch;
    SoftwareListViewModel viewModel{scratch.services()};
};

} // namespace

class tst_AgentActions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void uninstallForgetsConnections();
    void disableApprovalsOfOpenClaw();
    void disableApprovalsOfHermes();
    void failedWritesAreTold();
    void hermesGateway();
    void credentialsStayOutOfTheArguments();
    void hermesChat();
    void portText_data();
    void portText();
};

void tst_AgentActions::uninstallForgetsConnections()
{
    Agents agents;
    SoftwareListViewModel &viewModel = agents.viewModel;
    agents.scratch.write(u".openclaw/qqbot"_s, {});
    agents.scratch.write(hermesFile, "telegram discord weixin");
    viewModel.checkQQBotConnection();
    viewModel.checkWeChatConnection();
    QSignalSpy changed(&viewModel, &SoftwareListViewModel::agentStateChanged);
    viewModel.checkHermesConnections();
    QCOMPARE(changed.count(), 1);
    QVERIFY(viewModel.isQQBotConnected() && viewModel.isWeChatConnected() && viewModel.isHermesTelegramConnected()
            && viewModel.isHermesDiscordConnected() && viewModel.isHermesWeChatConnected());
    QCoro::waitFor(viewModel.uninstall(viewModel.software(u"openclaw"_s)));
    QVERIFY(!viewModel.isQQBotConnected() && !viewModel.isWeChatConnected());
    QVERIFY(viewModel.isHermesTelegramConnected());
    QCoro::waitFor(viewModel.uninstall(viewModel.software(u"hermes"_s)));
    QVERIFY(!viewModel.isHermesTelegramConnected() && !viewModel.isHermesDiscordConnected()
            && !viewModel.isHermesWeChatConnected());
}

void tst_AgentActions::disableApprovalsOfOpenClaw()
{
    Agents agents;
    agents.select(u"openclaw"_s);
    QCoro::waitFor(agents.viewModel.disableApprovals());
    QVERIFY(agents.viewModel.isApprovalsDisabled());
    QVERIFY(agents.viewModel.errorMessage().isEmpty());
    QCOMPARE(agents.scratch.read(approvalsFile).size(), 109);
    QTRY_COMPARE(agents.scratch.read(u"calls"_s), "kill 4711\ngateway\n");
}

void tst_AgentActions::disableApprovalsOfHermes()
{
    for (const bool hasFile : {true, false}) {
        Agents agents;
        agents.select(u"hermes"_s);
        if (hasFile)
            agents.scratch.write(hermesFile, "approvals:\n  mode: \"smart\"\n");
        QCoro::waitFor(agents.viewModel.disableApprovals());
        QCOMPARE(agents.scratch.read(hermesFile), hasFile ? "approvals:\n  mode: \"off\"\n" : "");
        QVERIFY(agents.viewModel.isApprovalsDisabled());
        QVERIFY(!QFile::exists(agents.scratch.path(approvalsFile)));
        QVERIFY(!QFile::exists(agents.scratch.path(u"calls"_s)));
    }
}

void tst_AgentActions::failedWritesAreTold()
{
    Agents agents;
    SoftwareListViewModel &viewModel = agents.viewModel;
    // Folders stand where the files are to go.
    agents.scratch.write(approvalsFile + u"/x"_s, {});
    agents.scratch.write(u".openclaw/config.json/x"_s, {});

    QCoro::waitFor(viewModel.disableApprovals());
    QCOMPARE(
        viewModel.errorMessage(),
        u"写入 exec-approvals.json 失败：无法写入 %1：该位置是一个文件夹"_s.arg(agents.scratch.path(approvalsFile)));
    QVERIFY(!viewModel.isApprovalsDisabled());
    QVERIFY(!QFile::exists(agents.scratch.path(u"calls"_s)));

    viewModel.setShowOpenClawConfig(true);
    viewModel.saveOpenClawConfig();
    QVERIFY(!viewModel.showOpenClawConfig());
    QCOMPARE(viewModel.errorMessage(),
             u"无法写入 %1：该位置是一个文件夹"_s.arg(agents.scratch.path(u".openclaw/config.json"_s)));
}

void tst_AgentActions::hermesGateway()
{
    for (const bool fails : {false, true}) {
        Agents agents;
        agents.scratch.keychain.save(u"user_api_key"_s, u"k-1"_s);
        agents.scratch.write(hermesFile, "telegram");
        if (fails)
            agents.scratch.write(u"fails"_s, {});
        auto running = agents.viewModel.setupHermesGateway();
        QVERIFY(agents.viewModel.isOperating());
        QCoro::waitFor(std::move(running));
        QVERIFY(!agents.viewModel.isOperating());
        QCOMPARE(agents.output(),
                 u">>> 配置 Hermes 网关平台...\nhermes gateway setup <k-1>\n\n"_s
                     + (fails ? u"❌ 配置失败 (exit code: 4)\n"_s : u"✅ 网关配置完成\n"_s));
        QVERIFY(agents.viewModel.errorMessage().isEmpty());
        QCOMPARE(agents.viewModel.isHermesTelegramConnected(), !fails);
        QCOMPARE(agents.viewModel.configuredSoftwareIds().contains(u"hermes"_s), !fails);
    }
}

void tst_AgentActions::credentialsStayOutOfTheArguments()
{
    const QString key = u"sk-secret-key"_s;
    const QByteArray waits = "until [ -e ~/go ]; do /bin/sleep 0.02; done; printf %s \"$QUENDA_API_KEY\" > ~/seen";
    Scratch scratch;
    SoftwareCatalogEntry entry = testEntry(u"openclaw"_s);
    entry.configCommand = u"/bin/sh -c '%1'"_s.arg(QString::fromLatin1(waits));
    scratch.setCatalog({entry});
    scratch.writeProgram(u"bin/hermes"_s, "#!/bin/sh\n" + waits);
    scratch.write(u".zprofile"_s, "path=(~/bin $path)\n");
    scratch.keychain.save(u"user_api_key"_s, key);
    SoftwareListViewModel viewModel(scratch.services());
    QCoro::waitFor(viewModel.loadData());

    const auto check = [&](QCoro::Task<> running, const QByteArray &child) {
        const qint64 process = scratch.shell.currentStreamingProcess->processIdentifier();
        QTRY_VERIFY(visibleArguments(process).contains(child));
        QVERIFY(!visibleArguments(process).contains(key.toUtf8()));
        scratch.write(u"go"_s, {});
        QCoro::waitFor(std::move(running));
        QCOMPARE(scratch.read(u"seen"_s), key.toUtf8());
        QVERIFY(QFile::remove(scratch.path(u"go"_s)) && QFile::remove(scratch.path(u"seen"_s)));
    };
    check(viewModel.configure(viewModel.software(u"openclaw"_s)), QByteArray("/bin/sh\0-c", 10));
    check(viewModel.setupHermesGateway(), scratch.path(u"bin/hermes"_s).toUtf8());
}

void tst_AgentActions::hermesChat()
{
    Agents agents;
    agents.viewModel.openHermesChat();
    QCOMPARE(agents.viewModel.errorMessage(), u"没有找到终端程序，请安装一个终端后重试"_s);

    agents.scratch.writeProgram(u"terminals/x-terminal-emulator"_s,
                                "#!/bin/sh\necho \"$*\" > \"$HOME/new\"; /bin/mv \"$HOME/new\" \"$HOME/started\"\n");
    agents.viewModel.openHermesChat();
    QTRY_COMPARE(agents.scratch.read(u"started"_s), "-e /bin/bash /tmp/hermes-chat.command\n");

    QFile script(u"/tmp/hermes-chat.command"_s);
    QVERIFY(script.open(QIODevice::ReadOnly));
    QCOMPARE(
        QString::fromUtf8(script.readAll()),
        u"#!/bin/bash\n# 切换当前终端窗口为 Pro（深色）profile\nosascript -e 'tell application \"Terminal\" to set "
        "current settings of front window to settings set \"Pro\"' 2>/dev/null\nexport PATH=\"%1/.local/bin:$PATH\""
        "\nclear\nhermes chat"_s.arg(agents.scratch.home.path()));
    QCOMPARE(script.permissions() & QFile::Permissions(0x0777),
             QFile::ReadUser | QFile::WriteUser | QFile::ExeUser | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther
                 | QFile::ExeOther);
    QVERIFY(script.remove());
}

void tst_AgentActions::portText_data()
{
    const auto row = columns<QString, qint64>("text", "port");
    const qint64 unchanged = 8080;
    row("usual", u"18789"_s, 18789);
    row("plus", u"+80"_s, 80);
    row("minus", u"-1"_s, -1);
    row("largest", u"9223372036854775807"_s, std::numeric_limits<qint64>::max());
    row("smallest", u"-9223372036854775808"_s, std::numeric_limits<qint64>::min());
    row("too large", u"9223372036854775808"_s, unchanged);
    row("letter", u"80a"_s, unchanged);
    row("space before", u" 80"_s, unchanged);
    row("space after", u"80 "_s, unchanged);
    row("space after the sign", u"+ 80"_s, unchanged);
    row("empty", u""_s, unchanged);
    row("sign only", u"-"_s, unchanged);
    row("two signs", u"+-1"_s, unchanged);
    row("fraction", u"80.0"_s, unchanged);
    row("exponent", u"1e3"_s, unchanged);
    row("grouped", u"18,789"_s, unchanged);
    row("wide digits", u"８０"_s, unchanged);
}

void tst_AgentActions::portText()
{
    QFETCH(QString, text);
    Agents agents;
    agents.viewModel.setOpenClawPortText(text);
    QTEST(agents.viewModel.openClawConfig().port, "port");
}

QTEST_GUILESS_MAIN(tst_AgentActions)
#include "tst_AgentActions.moc"
