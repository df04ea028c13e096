// Connecting OpenClaw to QQ and WeChat, with a program of the test in the agent's place.

#include "Support/Scratch.h"
#include "Support/Table.h"
#include "ViewModels/QQBotConnectViewModel.h"
#include "ViewModels/WeChatConnectViewModel.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

const QString secret = u"abcdefgh12345678ABCDEFGH87654321"_s;

/// A scratch home whose openclaw does what `script` says after noting how it was called; nothing in it
/// can end a process by name.
struct AgentHome : Scratch {
    explicit AgentHome(const QByteArray &script = {})
    {
        writeProgram(u".openclaw/bin/openclaw"_s, "#!/bin/sh\necho \"$*\" >> \"$HOME/calls\"\n" + script);
        write(u".zprofile"_s,
              "export PATH=~/.openclaw/bin:$PATH\n"
              "sleep() { }\n"
              "pkill() { print -r - pkill $* >> ~/calls }\n");
    }

    /// How it was called, and what was to be ended by name, in this order.
    QStringList calls() const { return QString::fromUtf8(read(u"calls"_s)).split(u'\n', Qt::SkipEmptyParts); }
};

QString text(const TerminalOutput *output)
{
    return QString::fromUtf8(output->text());
}

} // namespace

class tst_AgentConnections : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void qqCredentials_data();
    void qqCredentials();
    void qqRunsAllSteps_data();
    void qqRunsAllSteps();
    void qqSecretIsNotInTheShellsArguments();
    void qqRunOutlivesItsSheet();
    void weChatOutcome_data();
    void weChatOutcome();
    void weChatSucceedsBeforeTheLoginEnds();
    void weChatPluginComesFromTheServer();
    void weChatLoginOutput_data();
    void weChatLoginOutput();
    void controlSequences_data();
    void controlSequences();
};

void tst_AgentConnections::qqCredentials_data()
{
    const auto row = columns<QString, QString, bool>("appId", "appSecret", "isTaken");
    row("usual", u"1020304050"_s, secret, true);
    row("shortest", u"12345678"_s, secret.first(20), true);
    row("longest", u"123456789012345"_s, secret.repeated(2), true);
    row("id too short", u"1234567"_s, secret, false);
    row("id too long", u"1234567890123456"_s, secret, false);
    row("secret too short", u"1020304050"_s, secret.first(19), false);
    row("a command in the secret", u"1020304050"_s, secret + u"\"; touch ~/broken; \""_s, false);
    row("a line break at the end", u"1020304050\n"_s, secret, false);
    row("other digits", u"１０２０３０４０５０"_s, secret, false);
}

void tst_AgentConnections::qqCredentials()
{
    QFETCH(QString, appId);
    QFETCH(QString, appSecret);
    QFETCH(bool, isTaken);
    Scratch scratch;
    QQBotConnectViewModel viewModel(scratch.shell);
    viewModel.takeCredentials(appId, appSecret);
    QCOMPARE(viewModel.showConnectAlert(), isTaken);
    QCOMPARE(viewModel.detectedAppId(), isTaken ? appId : QString());

    viewModel.takeCredentials(u"99999999"_s, secret);
    QVERIFY(viewModel.showConnectAlert());
    QCOMPARE(viewModel.detectedAppId(), u"99999999"_s);
}

void tst_AgentConnections::qqRunsAllSteps_data()
{
    const auto row =
        columns<QString, QByteArray, QString, QString>("installCommand", "agent", "firstCall", "firstEnding");
    const QString defaultCall = u"plugins install @tencent-connect/openclaw-qqbot@latest"_s;
    row("built-in install", u""_s, {}, defaultCall, u"✅ 完成\n"_s);
    row("the catalog's install", u"openclaw my-install"_s, {}, u"my-install"_s, u"✅ 完成\n"_s);
    row("failing install", u""_s, "[ \"$1\" = plugins ] && { echo 装不上; exit 3; }; true\n", defaultCall,
        u"装不上\n⚠️ 退出码: 3\n"_s);
    row("install that cannot start", QString(200000, u'x'), {}, u""_s,
        u"❌ 无法执行命令：命令行过长（超过 128 KB）\n"_s);
}

void tst_AgentConnections::qqRunsAllSteps()
{
    QFETCH(QString, installCommand);
    QFETCH(QByteArray, agent);
    QFETCH(QString, firstCall);
    QFETCH(QString, firstEnding);
    AgentHome home(agent);
    QQBotConnectViewModel viewModel(home.shell);
    viewModel.begin(installCommand);
    viewModel.takeCredentials(u"1020304050"_s, secret);
    QCoro::waitFor(viewModel.connectQQBot());

    QVERIFY(viewModel.showLog() && viewModel.connectSuccess());
    QCOMPARE(text(viewModel.connectLog()),
             u"\n▶ 安装 QQ 机器人插件...\n"_s + firstEnding
                 + u"\n▶ 添加 QQ 机器人频道...\n✅ 完成\n"
                   "\n▶ 停止旧网关...\n旧网关已停止\n✅ 完成\n"
                   "\n▶ 启动网关...\n网关已在后台启动\n✅ 完成\n"
                   "\n✅ QQ 机器人接入完成！"_s);
    QTRY_VERIFY(home.calls().contains(u"gateway"_s));
    QStringList expected{firstCall, u"channels add --channel qqbot --token 1020304050:"_s + secret,
                         u"pkill -f openclaw gateway"_s, u"gateway"_s};
    expected.removeAll(QString());
    QCOMPARE(home.calls(), expected);
}

void tst_AgentConnections::qqSecretIsNotInTheShellsArguments()
{
    AgentHome home;
    // A function, so that the shell stays while it runs.
    home.write(u".zprofile"_s,
               "openclaw() { print -r - $* >> ~/calls; "
               "[[ $1 != channels ]] || until [[ -e ~/go ]]; do /bin/sleep 0.05; done }\n"
               "pkill() { }\n");
    QQBotConnectViewModel viewModel(home.shell);
    viewModel.begin({});
    viewModel.takeCredentials(u"1020304050"_s, secret);
    auto run = viewModel.connectQQBot();
    QTRY_VERIFY(home.calls().size() == 2);
    QFile arguments(u"/proc/%1/cmdline"_s.arg(home.shell.currentStreamingProcess->processIdentifier()));
    QVERIFY(arguments.open(QIODevice::ReadOnly));
    const QByteArray line = arguments.readAll();
    QVERIFY(line.contains("channels add") && !line.contains(secret.toUtf8()));
    home.write(u"go"_s, {});
    QCoro::waitFor(std::move(run));
}

void tst_AgentConnections::qqRunOutlivesItsSheet()
{
    AgentHome home("[ \"$1\" != plugins ] || while [ ! -e \"$HOME/go\" ]; do /bin/sleep 0.05; done\n");
    QQBotConnectViewModel viewModel(home.shell);
    viewModel.begin({});
    viewModel.takeCredentials(u"1020304050"_s, secret);
    auto connecting = viewModel.connectQQBot();
    QTRY_COMPARE(home.calls().size(), 1);
    viewModel.begin({});
    QVERIFY(viewModel.showLog() && !viewModel.connectSuccess());
    QCoro::waitFor(viewModel.connectQQBot());
    home.write(u"go"_s, {});
    QCoro::waitFor(std::move(connecting));
    QCOMPARE(home.calls().filter(u"plugins"_s).size(), 1);
    QVERIFY(viewModel.connectSuccess());

    viewModel.begin({});
    QVERIFY(!viewModel.showLog());
}

void tst_AgentConnections::weChatOutcome_data()
{
    // login: what the agent does then
    // log: from the login on
    const auto row = columns<QByteArray, bool, QString>("login", "isSuccess", "log");

    row("succeeds", "echo 扫码", true, u"扫码\n✅ 登录完成\n"_s);
    row("says so and then fails", "echo 'Login Success'; exit 1", true, u"Login Success\n⚠️ 退出码: 1\n"_s);
    row("fails", "echo 'no network' >&2; exit 1", false, u"no network\n⚠️ 退出码: 1\n"_s);
    row("ends by a signal", "kill -KILL $$", false, u"⚠️ 退出码: 137\n"_s);
}

void tst_AgentConnections::weChatOutcome()
{
    QFETCH(QByteArray, login);
    QFETCH(bool, isSuccess);
    QFETCH(QString, log);
    AgentHome home("case \"$1 $2\" in\n'channels login') " + login + " ;;\n'gateway ') echo listening ;;\nesac\n");
    WeChatConnectViewModel viewModel(home.shell, u"http://127.0.0.1:9/api/v1"_s);
    QStringList states;
    connect(&viewModel, &WeChatConnectViewModel::stateChanged, this, [&] {
        const QString state = viewModel.isSuccess() ? u"success"_s
            : viewModel.isFailed()                  ? u"failed"_s
            : viewModel.isRunning()                 ? u"scan"_s
                                                    : u"starting"_s;
        if (states.isEmpty() || states.last() != state)
            states.append(state);
    });
    QCoro::waitFor(viewModel.runInstall(u"echo plugin; exit 2"_s));

    const QString gateway = u"\n▶ 启动网关\n网关已在后台启动\n✅ 完成\n\n▶ 检查网关状态\n"_s;
    QVERIFY2(text(viewModel.output())
                 .startsWith(u"\n▶ 安装微信插件\nplugin\n⚠️ 退出码: 2\n"
                             "\n▶ 停止旧网关\n旧网关已停止\n✅ 完成\n"
                             "\n▶ 微信扫码登录\n  正在加载运行时，请稍候（首次约需30秒）...\n"_s
                             + log + (isSuccess ? gateway : QString())),
             qPrintable(text(viewModel.output())));
    QCOMPARE(states, QStringList({u"starting"_s, u"scan"_s, isSuccess ? u"success"_s : u"failed"_s}));
    QVERIFY(!viewModel.isRunning());
    QCOMPARE(home.calls().contains(u"pkill -f openclaw-gateway"_s), isSuccess);
    if (isSuccess)
        QTRY_COMPARE(home.read(u".openclaw/gateway.log"_s), "listening\n");
    QCOMPARE(home.calls().contains(u"gateway"_s), isSuccess);

    // Once more, from the beginning.
    QCoro::waitFor(viewModel.runInstall(u"echo again"_s));
    QVERIFY(text(viewModel.output()).startsWith(u"\n▶ 安装微信插件\nagain\n✅ 完成\n"_s));
    QCOMPARE(viewModel.isFailed(), !isSuccess);
}

void tst_AgentConnections::weChatSucceedsBeforeTheLoginEnds()
{
    AgentHome home(
        "[ \"$2\" != login ] || { echo 扫码成功; while [ ! -e \"$HOME/go\" ]; do /bin/sleep 0.05; done; }\n");
    WeChatConnectViewModel viewModel(home.shell, {});
    auto installing = viewModel.runInstall(u"true"_s);
    QTRY_VERIFY(viewModel.isSuccess());
    QVERIFY(!viewModel.isRunning());
    QVERIFY(!home.calls().contains(u"gateway"_s));
    QCoro::waitFor(viewModel.runInstall(u"touch ~/second"_s)); // the sheet is opened again
    QVERIFY(!QFile::exists(home.path(u"second"_s)));
    home.write(u"go"_s, {});
    QCoro::waitFor(std::move(installing));
    QVERIFY(text(viewModel.output()).contains(u"✅ 登录完成\n"_s));
}

void tst_AgentConnections::weChatPluginComesFromTheServer()
{
    AgentHome home;
    home.write(u".zprofile"_s, home.read(u".zprofile"_s) + "curl() { print -r - curl $* >> ~/calls; return 22 }\n");
    WeChatConnectViewModel viewModel(home.shell, u"https://account.example/api/v1"_s);
    QCoro::waitFor(viewModel.runInstall({}));
    QCOMPARE(home.calls().first(),
             u"curl -fSL https://account.example/api/v1/software/files/weixin/download -o /tmp/openclaw-weixin.zip"_s);
    QVERIFY(text(viewModel.output()).startsWith(u"\n▶ 安装微信插件\n⚠️ 退出码: 22\n"_s));
    QVERIFY(QFile::exists(home.path(u".openclaw/extensions"_s)));
}

void tst_AgentConnections::weChatLoginOutput_data()
{
    // pieces: printf formats, each a piece of output of its own
    const auto row = columns<QByteArray, QString>("pieces", "shown");
    row("code", R"('\033[32m████\033[0m\n' '  ▀▄ █\n')", u"████\n  ▀▄ █\n"_s);
    row("noise", R"('[plugins] loaded\nmore of it\n' 'PLUGINS.ALLOW is empty\n' 'x\n')", u"x\n"_s);
    row("noise in colour", R"('\033[33m[plugins]\033[0m Discovered NON-bundled\n')", u""_s);
    row("blank", R"('  \n\n' '\033[0m' 'x')", u"x"_s);
    row("code and noise in one piece", R"('[plugins] loaded\n\n  ████\n  █▄▄█\nplugins.allow\n')",
        u"\n  ████\n  █▄▄█\n"_s);
}

void tst_AgentConnections::weChatLoginOutput()
{
    QFETCH(QByteArray, pieces);
    QFETCH(QString, shown);
    AgentHome home("[ \"$2\" != login ] || { for piece in " + pieces
                   + "; do printf \"$piece\"; /bin/sleep 0.1; done; exit 1; }\n");
    WeChatConnectViewModel viewModel(home.shell, {});
    QCoro::waitFor(viewModel.runInstall(u"true"_s));
    const QString output = text(viewModel.output());
    const QString head = u"...\n"_s;
    QCOMPARE(output.sliced(output.indexOf(head) + head.size()), shown + u"⚠️ 退出码: 1\n"_s);
}

void tst_AgentConnections::controlSequences_data()
{
    const auto row = columns<QString, QString>("text", "left");
    row("colours", u"\x1b[32m████\x1b[0m\n"_s, u"████\n"_s);
    row("colours without their escape", u"[33mword[0m"_s, u"word"_s);
    row("cursor and erasing", u"\x1b[2K\x1b[1;1Hx\x1b[?25l"_s, u"x\x1b[?25l"_s);
    row("brackets in text", u"[1] [a] array[0] [12;x"_s, u"[1] [a] array[0] [12;x"_s);
    row("m in text", u"[m] [5m]"_s, u"] ]"_s);
}

void tst_AgentConnections::controlSequences()
{
    QFETCH(QString, text);
    QTEST(withoutControlSequences(text), "left");
}

QTEST_GUILESS_MAIN(tst_AgentConnections)
#include "tst_AgentConnections.moc"
