#include "Views/Screens.h"

#include "History.h"
#include "Platform/Appearance.h"
#include "Seed.h"
#include "Support/Served.h"

#include <QDir>
#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace {

SoftwareCatalogEntry entry(const QString &id, const QString &name, const QString &description,
                           SoftwareCategory::Value category, const QString &iconName)
{
    return {.id = id,
            .name = name,
            .description = description,
            .category = category,
            .iconName = iconName,
            .installCommand = u"for i in $(seq 1 30); do echo \"npm http fetch GET 200 包 $i\"; done; "
                              "echo ' 45 120M 45 54.0M 0 0 12.1M 0 0:00:09 0:00:04 0:00:05 12.4M'; sleep 600"_s,
            .version = u"2026.7.35"_s,
            .upgradeCommand = u"true"_s,
            .homepageURL = u"https://github.com/example/"_s + id};
}

SoftwareCatalog::Entries entries()
{
    using namespace SoftwareCategory;
    SoftwareCatalog::Entries list{
        entry(u"openclaw"_s, u"OpenClaw"_s, u"Vaelix 开源 AI 对话框架，支持本地模型与网页端交互"_s, Framework,
              u"hammer.circle.fill"_s),
        entry(u"hermes"_s, u"Hermes Agent"_s, u"Nous Research 出品的自进化 AI Agent，支持多平台网关"_s, Framework,
              u"brain.head.profile"_s),
        entry(u"ollama"_s, u"Ollama"_s, u"在本机运行开源大语言模型"_s, Runtime, u"cube.fill"_s),
        entry(u"crewai"_s, u"CrewAI"_s, u"多智能体协作框架"_s, Framework, u"person.3.fill"_s),
        entry(u"stable-diffusion"_s, u"Stable Diffusion WebUI"_s, u"本地文生图"_s, Tool, u"photo.artframe"_s),
        entry(u"qwen"_s, u"通义千问"_s, u"开源中英双语大模型"_s, Model, u"sparkles"_s),
        entry(u"broken"_s, u"Flowise"_s, u"拖拽式 LLM 编排工具"_s, Tool, u"network"_s),
        entry(u"long"_s, u"一个名字特别特别长的本地人工智能软件发行版"_s,
              u"它的描述也非常长，长到列表和标题里都放不下，因此应该被省略号截断而不是把界面撑开，"
              u"即使窗口很宽也一样，不会影响旁边的状态标签"_s,
              Tool, u"not.in.the.table"_s),
    };
    list[0].configCommand = u"true"_s;
    list[0].dependencies = {u"zsh"_s, u"sed"_s};
    return list;
}

/// Draws every screen and state into a folder, in both looks and at two sizes; with an argument only
/// those whose name contains it.
class Album
{
public:
    Album(Screens &screens, const QString &folder)
        : m_screens(screens)
        , m_folder(folder)
    {
    }

    void take(const QString &name)
    {
        QTest::qWait(400);
        if (!name.contains(QCoreApplication::arguments().value(1)))
            return;
        for (const QSize &size : {QSize(900, 600), QSize(1440, 900)}) {
            m_screens.window->resize(size);
            for (const bool isDark : {false, true}) {
                Appearance::shared().setDark(isDark);
                QTest::qWait(400);
                const QString look = isDark ? u"dark"_s : u"light"_s;
                const QString file = u"%1-%2-%3.png"_s.arg(name, look).arg(size.width());
                if (!m_screens.window->grabWindow().save(m_folder.filePath(file)))
                    qFatal("cannot write a screenshot");
            }
        }
    }

private:
    Screens &m_screens;
    QDir m_folder;
};

void waitUntil(const std::function<bool()> &isSo)
{
    if (!QTest::qWaitFor(isSo, 30000))
        qFatal("what is waited for does not happen");
}

void takeStates(Screens &screens, Album &album)
{
    using namespace SoftwareStatus;
    const QList<Value> statuses{Installed, NotInstalled, Running, Stopped,
                                Upgrading, Uninstalling, Error,   NotInstalled};
    const QList<AISoftware *> list = screens.viewModel.softwareList();
    for (qsizetype i = 0; i < list.size(); ++i) {
        list[i]->setStatus(statuses[i]);
        if (isUsable(statuses[i])) {
            list[i]->setVersion(u"OpenClaw 2026.7.35 (aa94808)"_s);
            list[i]->setInstalledAt(QDateTime(QDate(2026, 11, 20), QTime(9, 30)));
        }
    }
    album.take(u"list"_s);
    for (AISoftware *const software : list) {
        screens.viewModel.setSelectedSoftware(software);
        album.take(u"detail-"_s + rawValue(software->status()) + u'-' + software->id());
    }
}

void takeFilters(Screens &screens, Album &album)
{
    screens.viewModel.setSearchText(u"agent"_s);
    album.take(u"search"_s);
    screens.viewModel.setSearchText(u"没有这样的软件"_s);
    album.take(u"no-result"_s);
    screens.viewModel.setSearchText({});
    screens.viewModel.setSelectedCategory(SoftwareCategory::Framework);
    album.take(u"chips"_s);
    screens.viewModel.setSelectedCategory(SoftwareListViewModel::allCategories);
}

void escape(Screens &screens)
{
    screens.press(Qt::Key_Escape);
    QTest::qWait(400);
}

void takeAlert(Screens &screens, Album &album, const char *id, const char *button, const char *name)
{
    screens.viewModel.setSelectedSoftware(screens.software(QString::fromUtf8(id)));
    screens.settle();
    screens.click(screens.button(QString::fromUtf8(button)));
    album.take(QString::fromUtf8(name));
    escape(screens);
}

void takeAlerts(Screens &screens, Album &album)
{
    screens.setStatus(u"hermes"_s, SoftwareStatus::Installed);
    takeAlert(screens, album, "openclaw", "卸载", "alert-uninstall");
    takeAlert(screens, album, "openclaw", "已安装", "alert-reinstall");
    takeAlert(screens, album, "openclaw", "升级", "alert-no-upgrade");
    takeAlert(screens, album, "hermes", "升级", "alert-not-supported");
    screens.viewModel.setShowUserSwitchedAlert(true);
    album.take(u"alert-user-switched"_s);
    screens.press(Qt::Key_Escape);
}

void takeOperations(Screens &screens, Album &album)
{
    AISoftware *const software = screens.software(u"openclaw"_s);
    screens.viewModel.setSelectedSoftware(software);
    screens.viewModel.install(software);
    waitUntil([&] { return screens.viewModel.terminalOutput()->hasProgress(); });
    album.take(u"installing"_s);
    for (int line = 0; line < 3000; ++line)
        screens.viewModel.terminalOutput()->append(u"第 %1 行：正在解压 node_modules/包\n"_s.arg(line).toUtf8());
    album.take(u"long-output"_s);
    screens.viewModel.cancelInstall(software);
    waitUntil([&] { return screens.viewModel.terminalOutput()->text().contains("exit code"); });
    screens.viewModel.terminalOutput()->clear();
    screens.viewModel.terminalOutput()->append(
        u8"█▀▀▀▀▀█ ▀▄█ █▀▀▀▀▀█\n█ ███ █ ▄▀▄ █ ███ █\n█ ▀▀▀ █ █▀  █ ▀▀▀ █\n▀▀▀▀▀▀▀ ▀ ▀ ▀▀▀▀▀▀▀\n"
        "╭──────────────╮\n│ openclaw box │\n╰──────────────╯\n");
    album.take(u"block-characters"_s);
    screens.viewModel.terminalOutput()->clear();
    software->setStatus(SoftwareStatus::Installed);
    screens.viewModel.uninstall(software);
    album.take(u"error-banner"_s);
}

/// Waits until a property of the shown page view is true.
void waitForPage(const Screens &screens, const char *property)
{
    waitUntil([&] {
        const QQuickItem *const view = screens.webPage();
        return view && view->parentItem()->property(property).toBool();
    });
}

void takeConfigurationOfAgents(Screens &screens, Album &album)
{
    takeAlert(screens, album, "openclaw", "关闭询问", "alert-approvals");
    takeAlert(screens, album, "hermes", "接入QQ", "alert-hermes-qq");
    takeAlert(screens, album, "openclaw", "端口与模型", "sheet-openclaw-config");
    screens.scratch.write(u".hermes/config.yaml"_s, "telegram");
    takeAlert(screens, album, "hermes", "平台接入", "sheet-hermes");
    screens.viewModel.terminalOutput()->append(u8">>> 配置 Hermes 网关平台...\n◆ Telegram bot token:\n");
    takeAlert(screens, album, "hermes", "平台接入", "sheet-hermes-output");
    screens.viewModel.terminalOutput()->clear();
}

/// The sheets that connect OpenClaw; a program of ours stands in its place and does as it is told by files.
void takeConnections(Screens &screens, Album &album)
{
    screens.scratch.writeProgram(u".openclaw/bin/openclaw"_s,
                                 "#!/bin/sh\n"
                                 "wait_for() { until [ -e \"$HOME/$1\" ]; do /bin/sleep 0.1; done; }\n"
                                 "echo \"openclaw $1 $2\"\n"
                                 "case \"$1 $2\" in\n"
                                 "'plugins install') wait_for plugin ;;\n"
                                 "'gateway stop') wait_for stop ;;\n"
                                 "'channels login') cat ~/code; wait_for login; exit $(cat ~/login) ;;\n"
                                 "esac\n");
    screens.scratch.write(u".zprofile"_s, "export PATH=~/.openclaw/bin:$PATH\nsleep() { }\npkill() { }\n");
    screens.viewModel.setSelectedSoftware(screens.software(u"openclaw"_s));
    screens.settle();

    screens.click(screens.button(u"接入QQ"_s));
    waitForPage(screens, "hasFailed");
    album.take(u"sheet-qq-failed"_s);
    QQBotConnectViewModel *const qqBot = screens.viewModel.qqBotConnection();
    qqBot->takeCredentials(u"1029384756"_s, u"Kq7ZtB2xWm94LrVfYd81NcHs0PjEa6Ug"_s);
    album.take(u"sheet-qq-question"_s);
    screens.press(Qt::Key_Return);
    album.take(u"sheet-qq-running"_s);
    screens.scratch.write(u"plugin"_s, {});
    waitUntil([&] { return qqBot->connectSuccess(); });
    album.take(u"sheet-qq-done"_s);
    escape(screens);

    screens.scratch.write(u"code"_s, codeAsText("https://liteapp.weixin.example/q/7GiQu1?id=8f3c1d"));
    screens.click(screens.button(u"接入微信"_s));
    album.take(u"sheet-wechat-starting"_s);
    screens.scratch.write(u"stop"_s, {});
    waitUntil([&] { return screens.viewModel.weChatConnection()->isRunning(); });
    album.take(u"sheet-wechat-scan"_s);
    screens.scratch.write(u"login"_s, "1");
    waitUntil([&] { return screens.viewModel.weChatConnection()->isFailed(); });
    album.take(u"sheet-wechat-failed"_s);
    screens.scratch.write(u"login"_s, "0");
    screens.click(screens.button(u"重试"_s));
    waitUntil([&] { return screens.viewModel.weChatConnection()->isSuccess(); });
    album.take(u"sheet-wechat-done"_s);
    escape(screens);
}

void openAccountMenu(Screens &screens)
{
    screens.click(screens.elements(QAccessible::ButtonMenu).first());
    QTest::qWait(400);
}

void takeMainFrame(Screens &screens, Album &album)
{
    openAccountMenu(screens);
    album.take(u"account-menu"_s);
    screens.press(Qt::Key_Down);
    album.take(u"account-menu-keys"_s);
    escape(screens);
    screens.click(screens.button(u"检查更新"_s));
    QTest::qWait(400);
    album.take(u"alert-up-to-date"_s);
    escape(screens);
}

/// The prompt over the login and what is told of a failure.
void takeUpdates(const QString &folder)
{
    devserver::DevServer server(devserver::ServerState{});
    const QString origin = server.start(0).value();
    QString notes = u"• 仪表盘显示近 7 天的 Token 用量，并按软件分列\n"_s;
    for (int i = 1; i < 20; ++i)
        notes += u"• 修复第 %1 个问题：说明文字很长的时候应当换行，而不是被截断，也不应当把窗口撑开\n"_s.arg(i);
    const auto offer = [&](devserver::UpdateOffer update, const QString &bundle, auto take) {
        Screens screens(Screens::Start::SignedOut, origin, bundle);
        screens.scratch.write(u"image"_s, QByteArray(4'000'000, 'x'));
        update.setFile(screens.scratch.path(u"image"_s)).value();
        update.delivery = {.pieceSize = 20'000, .pause = std::chrono::milliseconds(100)};
        server.state().update = update;
        screens.scratch.writeProgram(u"hdiutil"_s, "#!/bin/sh\nexec sleep 30\n");
        Album album(screens, folder);
        screens.updateViewModel.checkAtStart();
        waitUntil([&] { return screens.updateViewModel.hasUpdate(); });
        take(screens, album);
    };
    const QString own = u"apps/Vaelix.app"_s;
    offer({.version = u"1.2.0"_s, .build = 120}, own, [&](Screens &screens, Album &album) {
        album.take(u"update-prompt"_s);
        screens.click(screens.button(u"下载更新"_s));
        waitUntil([&] { return screens.updateViewModel.downloadProgress() > 0.2; });
        album.take(u"update-downloading"_s);
        screens.click(screens.button(u"取消下载"_s));
        album.take(u"update-cancelled"_s);
        escape(screens);
        server.state().update->delivery = {};
        screens.click(screens.button(u"下载更新"_s));
        waitUntil([&] { return screens.updateViewModel.installStep().startsWith(u"正在挂载"_s); });
        album.take(u"update-installing"_s);
    });
    offer({.version = u"2.0.0"_s, .build = 200, .notes = notes, .isMandatory = true}, own,
          [](Screens &, Album &album) { album.take(u"update-mandatory"_s); });
    offer({.version = u"1.2.0"_s, .build = 120}, u"a$b/Vaelix.app"_s,
          [](Screens &, Album &album) { album.take(u"update-obstacle"_s); });
}

/// The login's states, over a local server of its own.
void takeLogin(const QString &folder)
{
    devserver::DevServer server(devserver::ServerState{.accounts = devserver::embeddedAccounts().value()});
    server.faults().set("GET", u"/authorize"_s, {.delay = std::chrono::hours(1)}, 1);
    Screens screens(Screens::Start::SignedOut, server.start(0).value());
    Album album(screens, folder);
    album.take(u"login-welcome"_s);
    screens.click(screens.button(u"登录 / 注册"_s));
    waitUntil([&] { return !server.requests().isEmpty(); });
    album.take(u"login-loading"_s);
    screens.click(screens.button(u"返回"_s));
    screens.click(screens.button(u"登录 / 注册"_s));
    waitForPage(screens, "hasLoaded");
    album.take(u"login-page"_s);
    for (QQuickItem *const item : screens.window->findChildren<QQuickItem *>())
        if (item->property("isLoginCompleting").isValid())
            item->setProperty("isLoginCompleting", true);
    album.take(u"login-success"_s);
}

void takeUnreachableServer(const QString &folder)
{
    Screens screens(Screens::Start::SignedOut);
    Album album(screens, folder);
    screens.click(screens.button(u"登录 / 注册"_s));
    waitForPage(screens, "hasFailed");
    album.take(u"login-failed"_s);
}

void openTab(Screens &screens, TokenTab::Value tab)
{
    screens.tokenViewModel.setSelectedTab(tab);
    QTest::qWait(100);
}

/// What the token section shows without its server, and before it has answered.
void takeMissingTokens(Screens &screens, devserver::DevServer &server, Album &album)
{
    using namespace std::chrono_literals;
    server.faults().set("GET", u"/api/v1/token/balance"_s, {.delay = 1h});
    screens.click(screens.button(u"Token 管理"_s));
    album.take(u"token-loading"_s);
    openTab(screens, TokenTab::History);
    album.take(u"token-history-loading"_s);
    openTab(screens, TokenTab::Proxy);
    album.take(u"token-api-signed-out"_s);
    server.faults().clear();
}

void takePurchase(Screens &screens, devserver::DevServer &server, Album &album)
{
    using namespace std::chrono_literals;
    screens.tokenViewModel.loadData();
    waitUntil(
        [&] { return screens.tokenViewModel.balance() && screens.tokenViewModel.transactions()->rowCount() > 0; });
    album.take(u"token-packages"_s);
    screens.window->resize(900, 600);
    screens.settle();
    screens.click(screens.element(QAccessible::RadioButton, u"标准版，500,000 Token，¥39.90"_s));
    album.take(u"token-selected"_s);
    screens.click(screens.button(u"确认购买 标准版 - ¥39.90"_s));
    album.take(u"token-question"_s);
    const QString recharge = u"/api/v1/token/recharge"_s;
    server.faults().set("POST", recharge, {.delay = 1h}, 1);
    screens.press(Qt::Key_Return);
    album.take(u"token-purchasing"_s);
    screens.tokenViewModel.purchase(TokenPackage::mockPackages().at(1));
    waitUntil([&] { return screens.tokenViewModel.isPolling(); });
    screens.tokenViewModel.stopPolling();
    album.take(u"token-payment-ended"_s);
    screens.tokenViewModel.pollPaymentStatus();
    album.take(u"token-payment"_s);
    server.state().orders.withNumber(screens.tokenViewModel.paymentOrderNo())->fate = devserver::OrderFate::SelfPaid;
    screens.tokenViewModel.pollPaymentStatus();
    waitUntil([&] { return !screens.tokenViewModel.successMessage().isEmpty(); });
    album.take(u"token-paid"_s);
    server.faults().set("POST", recharge, {.status = 502, .body = "upstream"}, 1);
    screens.tokenViewModel.purchase(TokenPackage::mockPackages().at(1));
    waitUntil([&] { return !screens.tokenViewModel.errorMessage().isEmpty(); });
    album.take(u"token-failed"_s);
    screens.tokenViewModel.dismissMessages();
}

void takeDashboard(Screens &screens, devserver::DevServer &server, Album &album)
{
    const auto answer = [&](const char *name, const QByteArray &usage) {
        server.faults().set("GET", u"/api/v1/token/usage/weekly"_s, {.status = 200, .body = envelope(usage)});
        screens.dashboardViewModel.loadData();
        waitUntil([&] { return !screens.dashboardViewModel.isLoading(); });
        album.take(u"dashboard-"_s + QString::fromLatin1(name));
    };
    screens.click(screens.button(u"仪表盘"_s));
    waitUntil([&] { return !screens.dashboardViewModel.isLoading(); });
    album.take(u"dashboard-week"_s);
    answer("one-day", R"([{"date":"2026-11-20","tokens":1234567}])");
    answer("zero", R"([{"date":"2026-11-19","tokens":0},{"date":"2026-11-20","tokens":0}])");
    answer("huge-day", R"([{"date":"2026-11-18","tokens":5},{"date":"2026-11-19","tokens":99000000000}])");
    server.faults().clear();
    screens.openSoftware(entries());
    screens.setStatus(u"openclaw"_s, SoftwareStatus::Running);
    screens.setStatus(u"qwen"_s, SoftwareStatus::Error);
    screens.click(screens.button(u"仪表盘"_s));
    waitUntil([&] { return !screens.dashboardViewModel.isLoading(); });
    album.take(u"dashboard-software"_s);
}

void takePasswordSheet(Screens &screens, devserver::DevServer &server, Album &album)
{
    const auto open = [&] {
        openAccountMenu(screens);
        screens.click(screens.element(QAccessible::MenuItem, u"修改密码"_s));
        QTest::qWait(400);
    };
    open();
    album.take(u"password-empty"_s);
    for (QQuickItem *const field : screens.elements(QAccessible::EditableText)) {
        screens.click(field);
        screens.type(field == screens.elements(QAccessible::EditableText).first() ? u"wrong"_s : u"brand-new"_s);
    }
    screens.press(Qt::Key_Return);
    waitUntil([&] { return !screens.changePasswordViewModel.errorMessage().isEmpty(); });
    album.take(u"password-refused"_s);
    server.faults().set("POST", u"/api/v1/user/change-password"_s,
                        {.status = 200, .body = R"({"code":0,"message":"ok"})"});
    screens.press(Qt::Key_Return);
    waitUntil([&] { return screens.changePasswordViewModel.showSuccess(); });
    album.take(u"password-changed"_s);
    escape(screens);
}

void takeTokens(const QString &folder)
{
    devserver::ServerState state{.accounts = devserver::embeddedAccounts().value()};
    const devserver::Account account = state.accounts.all().first();
    const QString token = state.accounts.issueToken(account);
    devserver::DevServer server(std::move(state));
    Screens screens(Screens::Start::SignedOut, server.start(0).value());
    screens.signIn(account.displayName, token);
    Album album(screens, folder);
    takeMissingTokens(screens, server, album);
    openTab(screens, TokenTab::History);
    screens.tokenViewModel.loadData();
    QTest::qWait(1000);
    album.take(u"token-history-empty"_s);
    openTab(screens, TokenTab::Purchase);
    server.state().ledger = devserver::seededLedger(server.state().accounts, QDateTime::currentDateTimeUtc());
    takePurchase(screens, server, album);
    openTab(screens, TokenTab::History);
    album.take(u"token-history"_s);
    openTab(screens, TokenTab::Proxy);
    screens.settle();
    screens.click(screens.button(u"复制 API Base URL"_s));
    album.take(u"token-api"_s);
    takeDashboard(screens, server, album);
    takePasswordSheet(screens, server, album);
}

} // namespace

int main(int argc, char *argv[])
{
    const QString folder = qEnvironmentVariable("VAELIX_SCREENSHOTS");
    if (folder.isEmpty())
        qFatal("VAELIX_SCREENSHOTS names no folder");
    const QGuiApplication application(argc, argv);
    QDir().mkpath(folder);
    takeLogin(folder);
    takeUnreachableServer(folder);
    takeUpdates(folder);
    takeTokens(folder);
    Screens screens;
    Album album(screens, folder);
    album.take(u"dashboard"_s);
    takeMainFrame(screens, album);
    screens.openSoftware(entries());
    takeStates(screens, album);
    takeFilters(screens, album);
    takeAlerts(screens, album);
    takeConfigurationOfAgents(screens, album);
    takeOperations(screens, album);
    takeConnections(screens, album);
    return Screens::warnings.isEmpty() ? 0 : 1;
}
