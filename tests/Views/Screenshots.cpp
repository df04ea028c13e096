#include "Screens.h"

#include "DevServer.h"
#include "History.h"
#include "Platform/Appearance.h"
#include "Seed.h"

#include <QDir>
#include <QGuiApplication>

namespace {

SoftwareCatalogEntry entry(const char *id, const char *name, const char *description, SoftwareCategory::Value category,
                           const char *iconName)
{
    return {.id = QString::fromUtf8(id),
            .name = QString::fromUtf8(name),
            .description = QString::fromUtf8(description),
            .category = category,
            .iconName = QString::fromUtf8(iconName),
            .installCommand = QStringLiteral("for i in $(seq 1 30); do echo \"npm http fetch GET 200 包 $i\"; done; "
                                             "echo ' 45 120M 45 54.0M 0 0 12.1M 0 0:00:09 0:00:04 0:00:05 12.4M'; "
                                             "sleep 600"),
            .version = QStringLiteral("2026.7.35"),
            .upgradeCommand = QStringLiteral("true"),
            .homepageURL = QStringLiteral("https://github.com/example/") + QString::fromUtf8(id)};
}

SoftwareCatalog::Entries entries()
{
    using namespace SoftwareCategory;
    SoftwareCatalog::Entries list{
        entry("openclaw", "OpenClaw", "Vaelix 开源 AI 对话框架，支持本地模型与网页端交互", Framework,
              "hammer.circle.fill"),
        entry("hermes", "Hermes Agent", "Nous Research 出品的自进化 AI Agent，支持多平台网关", Framework,
              "brain.head.profile"),
        entry("ollama", "Ollama", "在本机运行开源大语言模型", Runtime, "cube.fill"),
        entry("crewai", "CrewAI", "多智能体协作框架", Framework, "person.3.fill"),
        entry("stable-diffusion", "Stable Diffusion WebUI", "本地文生图", Tool, "photo.artframe"),
        entry("qwen", "通义千问", "开源中英双语大模型", Model, "sparkles"),
        entry("broken", "Flowise", "拖拽式 LLM 编排工具", Tool, "network"),
        entry("long", "一个名字特别特别长的本地人工智能软件发行版",
              "它的描述也非常长，长到列表和标题里都放不下，因此应该被省略号截断而不是把界面撑开，"
              "即使窗口很宽也一样，不会影响旁边的状态标签",
              Tool, "not.in.the.table"),
    };
    list[0].configCommand = QStringLiteral("true");
    list[0].dependencies = {QStringLiteral("zsh"), QStringLiteral("sed")};
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
        if (!name.contains(QCoreApplication::arguments().value(1)))
            return;
        for (const QSize &size : {QSize(900, 600), QSize(1440, 900)}) {
            m_screens.window->resize(size);
            for (const bool isDark : {false, true}) {
                Appearance::shared().setDark(isDark);
                QTest::qWait(400);
                const QString look = isDark ? QStringLiteral("dark") : QStringLiteral("light");
                const QString file = QStringLiteral("%1-%2-%3.png").arg(name, look).arg(size.width());
                if (!m_screens.window->grabWindow().save(m_folder.filePath(file)))
                    qFatal("cannot write a screenshot");
            }
        }
    }

private:
    Screens &m_screens;
    QDir m_folder;
};

void takeStates(Screens &screens, Album &album)
{
    using namespace SoftwareStatus;
    const QList<Value> statuses{Installed, NotInstalled, Running, Stopped,
                                Upgrading, Uninstalling, Error,   NotInstalled};
    const QList<AISoftware *> list = screens.viewModel.softwareList();
    for (qsizetype i = 0; i < list.size(); ++i) {
        list[i]->setStatus(statuses[i]);
        if (isUsable(statuses[i])) {
            list[i]->setVersion(QStringLiteral("OpenClaw 2026.7.35 (aa94808)"));
            list[i]->setInstalledAt(QDateTime(QDate(2026, 11, 20), QTime(9, 30)));
        }
    }
    album.take(QStringLiteral("list"));
    for (AISoftware *const software : list) {
        screens.viewModel.setSelectedSoftware(software);
        album.take(QStringLiteral("detail-") + rawValue(software->status()) + u'-' + software->id());
    }
}

void takeFilters(Screens &screens, Album &album)
{
    screens.viewModel.setSearchText(QStringLiteral("agent"));
    album.take(QStringLiteral("search"));
    screens.viewModel.setSearchText(QStringLiteral("没有这样的软件"));
    album.take(QStringLiteral("no-result"));
    screens.viewModel.setSearchText({});
    screens.viewModel.setSelectedCategory(SoftwareCategory::Framework);
    album.take(QStringLiteral("chips"));
    screens.viewModel.setSelectedCategory(SoftwareListViewModel::allCategories);
}

void takeAlert(Screens &screens, Album &album, const char *id, const char *button, const char *name)
{
    screens.viewModel.setSelectedSoftware(screens.software(QString::fromUtf8(id)));
    screens.settle();
    screens.click(screens.button(QString::fromUtf8(button)));
    QTest::qWait(400);
    album.take(QString::fromUtf8(name));
    screens.press(Qt::Key_Escape);
    QTest::qWait(400);
}

void takeAlerts(Screens &screens, Album &album)
{
    screens.setStatus(QStringLiteral("hermes"), SoftwareStatus::Installed);
    takeAlert(screens, album, "openclaw", "卸载", "alert-uninstall");
    takeAlert(screens, album, "openclaw", "已安装", "alert-reinstall");
    takeAlert(screens, album, "openclaw", "升级", "alert-no-upgrade");
    takeAlert(screens, album, "hermes", "升级", "alert-not-supported");
    screens.viewModel.setShowUserSwitchedAlert(true);
    QTest::qWait(400);
    album.take(QStringLiteral("alert-user-switched"));
    screens.press(Qt::Key_Escape);
}

void takeOperations(Screens &screens, Album &album)
{
    AISoftware *const software = screens.software(QStringLiteral("openclaw"));
    screens.viewModel.setSelectedSoftware(software);
    screens.viewModel.install(software);
    if (!QTest::qWaitFor([&] { return screens.viewModel.terminalOutput()->hasProgress(); }, 20000))
        qFatal("no progress: %s", screens.viewModel.terminalOutput()->text().constData());
    album.take(QStringLiteral("installing"));
    for (int line = 0; line < 3000; ++line)
        screens.viewModel.terminalOutput()->append(
            QStringLiteral("第 %1 行：正在解压 node_modules/包\n").arg(line).toUtf8());
    album.take(QStringLiteral("long-output"));
    screens.viewModel.cancelInstall(software);
    if (!QTest::qWaitFor([&] { return screens.viewModel.terminalOutput()->text().contains("exit code"); }, 20000))
        qFatal("the cancelled run does not end");
    screens.viewModel.terminalOutput()->clear();
    screens.viewModel.terminalOutput()->append(
        u8"█▀▀▀▀▀█ ▀▄█ █▀▀▀▀▀█\n█ ███ █ ▄▀▄ █ ███ █\n█ ▀▀▀ █ █▀  █ ▀▀▀ █\n▀▀▀▀▀▀▀ ▀ ▀ ▀▀▀▀▀▀▀\n"
        "╭──────────────╮\n│ openclaw box │\n╰──────────────╯\n");
    album.take(QStringLiteral("block-characters"));
    screens.viewModel.terminalOutput()->clear();
    software->setStatus(SoftwareStatus::Installed);
    screens.viewModel.uninstall(software);
    album.take(QStringLiteral("error-banner"));
}

void waitUntil(const std::function<bool()> &isSo)
{
    if (!QTest::qWaitFor(isSo, 30000))
        qFatal("what is waited for does not happen");
}

/// Waits until a property of the shown page view is true.
void waitForPage(const Screens &screens, const char *property)
{
    const auto isTrue = [&] {
        const QQuickItem *const view = screens.webPage();
        return view && view->parentItem()->property(property).toBool();
    };
    if (!QTest::qWaitFor(isTrue, 30000))
        qFatal("the page never %s", property);
}

void takeConfigurationOfAgents(Screens &screens, Album &album)
{
    takeAlert(screens, album, "openclaw", "关闭询问", "alert-approvals");
    takeAlert(screens, album, "hermes", "接入QQ", "alert-hermes-qq");
    takeAlert(screens, album, "openclaw", "端口与模型", "sheet-openclaw-config");
    screens.scratch.write(QStringLiteral(".hermes/config.yaml"), "telegram");
    takeAlert(screens, album, "hermes", "平台接入", "sheet-hermes");
    screens.viewModel.terminalOutput()->append(u8">>> 配置 Hermes 网关平台...\n◆ Telegram bot token:\n");
    takeAlert(screens, album, "hermes", "平台接入", "sheet-hermes-output");
    screens.viewModel.terminalOutput()->clear();
}

/// The sheets that connect OpenClaw; a program of ours stands in its place and does as it is told by files.
void takeConnections(Screens &screens, Album &album)
{
    const QString agent = QStringLiteral(".openclaw/bin/openclaw");
    screens.scratch.write(agent,
                          "#!/bin/sh\n"
                          "wait_for() { until [ -e \"$HOME/$1\" ]; do /bin/sleep 0.1; done; }\n"
                          "echo \"openclaw $1 $2\"\n"
                          "case \"$1 $2\" in\n"
                          "'plugins install') wait_for plugin ;;\n"
                          "'gateway stop') wait_for stop ;;\n"
                          "'channels login') cat ~/code; wait_for login; exit $(cat ~/login) ;;\n"
                          "esac\n");
    QFile::setPermissions(screens.scratch.path(agent), QFile::ReadOwner | QFile::ExeOwner);
    screens.scratch.write(QStringLiteral(".zprofile"), "export PATH=~/.openclaw/bin:$PATH\nsleep() { }\npkill() { }\n");
    screens.viewModel.setSelectedSoftware(screens.software(QStringLiteral("openclaw")));
    screens.settle();

    screens.click(screens.button(QStringLiteral("接入QQ")));
    waitForPage(screens, "hasFailed");
    album.take(QStringLiteral("sheet-qq-failed"));
    QQBotConnectViewModel *const qqBot = screens.viewModel.qqBotConnection();
    qqBot->takeCredentials(QStringLiteral("1029384756"), QStringLiteral("Kq7ZtB2xWm94LrVfYd81NcHs0PjEa6Ug"));
    album.take(QStringLiteral("sheet-qq-question"));
    screens.press(Qt::Key_Return);
    album.take(QStringLiteral("sheet-qq-running"));
    screens.scratch.write(QStringLiteral("plugin"), {});
    waitUntil([&] { return qqBot->connectSuccess(); });
    album.take(QStringLiteral("sheet-qq-done"));
    screens.press(Qt::Key_Escape);
    QTest::qWait(400);

    screens.scratch.write(QStringLiteral("code"), codeAsText("https://liteapp.weixin.example/q/7GiQu1?id=8f3c1d"));
    screens.click(screens.button(QStringLiteral("接入微信")));
    album.take(QStringLiteral("sheet-wechat-starting"));
    screens.scratch.write(QStringLiteral("stop"), {});
    waitUntil([&] { return screens.viewModel.weChatConnection()->isRunning(); });
    album.take(QStringLiteral("sheet-wechat-scan"));
    screens.scratch.write(QStringLiteral("login"), "1");
    waitUntil([&] { return screens.viewModel.weChatConnection()->isFailed(); });
    album.take(QStringLiteral("sheet-wechat-failed"));
    screens.scratch.write(QStringLiteral("login"), "0");
    screens.click(screens.button(QStringLiteral("重试")));
    waitUntil([&] { return screens.viewModel.weChatConnection()->isSuccess(); });
    album.take(QStringLiteral("sheet-wechat-done"));
    screens.press(Qt::Key_Escape);
    QTest::qWait(400);
}

void openAccountMenu(Screens &screens)
{
    screens.click(screens.elements(QAccessible::ButtonMenu).first());
    QTest::qWait(400);
}

void takeMainFrame(Screens &screens, Album &album)
{
    openAccountMenu(screens);
    album.take(QStringLiteral("account-menu"));
    screens.press(Qt::Key_Down);
    album.take(QStringLiteral("account-menu-keys"));
    screens.press(Qt::Key_Escape);
    QTest::qWait(400);
    screens.click(screens.button(QStringLiteral("检查更新")));
    QTest::qWait(400);
    album.take(QStringLiteral("alert-up-to-date"));
    screens.press(Qt::Key_Escape);
    QTest::qWait(400);
}

void openLogin(Screens &screens)
{
    screens.click(screens.button(QStringLiteral("登录 / 注册")));
}

/// The login's states, over a local server of its own.
void takeLogin(const QString &folder)
{
    devserver::DevServer server(devserver::ServerState{.accounts = devserver::embeddedAccounts().value()});
    server.faults().set("GET", QStringLiteral("/authorize"), {.delay = std::chrono::hours(1)}, 1);
    Screens screens(Screens::Start::SignedOut, server.start(0).value());
    Album album(screens, folder);
    album.take(QStringLiteral("login-welcome"));
    openLogin(screens);
    waitUntil([&] { return !server.requests().isEmpty(); });
    album.take(QStringLiteral("login-loading"));
    screens.click(screens.button(QStringLiteral("返回")));
    openLogin(screens);
    waitForPage(screens, "hasLoaded");
    album.take(QStringLiteral("login-page"));
    for (QQuickItem *const item : screens.window->findChildren<QQuickItem *>())
        if (item->property("isLoginCompleting").isValid())
            item->setProperty("isLoginCompleting", true);
    album.take(QStringLiteral("login-success"));
}

void takeUnreachableServer(const QString &folder)
{
    Screens screens(Screens::Start::SignedOut);
    Album album(screens, folder);
    openLogin(screens);
    waitForPage(screens, "hasFailed");
    album.take(QStringLiteral("login-failed"));
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
    server.faults().set("GET", QStringLiteral("/api/v1/token/balance"), {.delay = 1h});
    screens.click(screens.button(QStringLiteral("Token 管理")));
    album.take(QStringLiteral("token-loading"));
    openTab(screens, TokenTab::History);
    album.take(QStringLiteral("token-history-loading"));
    openTab(screens, TokenTab::Proxy);
    album.take(QStringLiteral("token-api-signed-out"));
    server.faults().clear();
}

void takePurchase(Screens &screens, devserver::DevServer &server, Album &album)
{
    using namespace std::chrono_literals;
    screens.tokenViewModel.loadData();
    waitUntil(
        [&] { return screens.tokenViewModel.balance() && screens.tokenViewModel.transactions()->rowCount() > 0; });
    album.take(QStringLiteral("token-packages"));
    screens.window->resize(900, 600);
    screens.settle();
    screens.click(screens.element(QAccessible::RadioButton, QStringLiteral("标准版，500,000 Token，¥39.90")));
    album.take(QStringLiteral("token-selected"));
    screens.click(screens.button(QStringLiteral("确认购买 标准版 - ¥39.90")));
    QTest::qWait(400);
    album.take(QStringLiteral("token-question"));
    const QString recharge = QStringLiteral("/api/v1/token/recharge");
    server.faults().set("POST", recharge, {.delay = 1h}, 1);
    screens.press(Qt::Key_Return);
    QTest::qWait(400);
    album.take(QStringLiteral("token-purchasing"));
    screens.tokenViewModel.purchase(TokenPackage::mockPackages().at(1));
    waitUntil([&] { return screens.tokenViewModel.isPolling(); });
    screens.tokenViewModel.stopPolling();
    album.take(QStringLiteral("token-payment-ended"));
    screens.tokenViewModel.pollPaymentStatus();
    album.take(QStringLiteral("token-payment"));
    server.state().orders.withNumber(screens.tokenViewModel.paymentOrderNo())->fate = devserver::OrderFate::SelfPaid;
    screens.tokenViewModel.pollPaymentStatus();
    waitUntil([&] { return !screens.tokenViewModel.successMessage().isEmpty(); });
    QTest::qWait(400);
    album.take(QStringLiteral("token-paid"));
    server.faults().set("POST", recharge, {.status = 502, .body = "upstream"}, 1);
    screens.tokenViewModel.purchase(TokenPackage::mockPackages().at(1));
    waitUntil([&] { return !screens.tokenViewModel.errorMessage().isEmpty(); });
    album.take(QStringLiteral("token-failed"));
    screens.tokenViewModel.dismissMessages();
}

void takeDashboard(Screens &screens, devserver::DevServer &server, Album &album)
{
    const auto answer = [&](const char *name, const QByteArray &usage) {
        server.faults().set("GET", QStringLiteral("/api/v1/token/usage/weekly"),
                            {.status = 200, .body = R"({"code":0,"message":"ok","data":)" + usage + '}'});
        screens.dashboardViewModel.loadData();
        waitUntil([&] { return !screens.dashboardViewModel.isLoading(); });
        album.take(QStringLiteral("dashboard-") + QString::fromLatin1(name));
    };
    screens.click(screens.button(QStringLiteral("仪表盘")));
    waitUntil([&] { return !screens.dashboardViewModel.isLoading(); });
    album.take(QStringLiteral("dashboard-week"));
    answer("one-day", R"([{"date":"2026-11-20","tokens":1234567}])");
    answer("zero", R"([{"date":"2026-11-19","tokens":0},{"date":"2026-11-20","tokens":0}])");
    answer("huge-day", R"([{"date":"2026-11-18","tokens":5},{"date":"2026-11-19","tokens":99000000000}])");
    server.faults().clear();
    screens.openSoftware(entries());
    screens.setStatus(QStringLiteral("openclaw"), SoftwareStatus::Running);
    screens.setStatus(QStringLiteral("qwen"), SoftwareStatus::Error);
    screens.click(screens.button(QStringLiteral("仪表盘")));
    waitUntil([&] { return !screens.dashboardViewModel.isLoading(); });
    album.take(QStringLiteral("dashboard-software"));
}

void takePasswordSheet(Screens &screens, devserver::DevServer &server, Album &album)
{
    const auto open = [&] {
        openAccountMenu(screens);
        screens.click(screens.element(QAccessible::MenuItem, QStringLiteral("修改密码")));
        QTest::qWait(400);
    };
    open();
    album.take(QStringLiteral("password-empty"));
    for (QQuickItem *const field : screens.elements(QAccessible::EditableText)) {
        screens.click(field);
        screens.type(field == screens.elements(QAccessible::EditableText).first() ? QStringLiteral("wrong")
                                                                                  : QStringLiteral("brand-new"));
    }
    screens.press(Qt::Key_Return);
    waitUntil([&] { return !screens.changePasswordViewModel.errorMessage().isEmpty(); });
    album.take(QStringLiteral("password-refused"));
    server.faults().set("POST", QStringLiteral("/api/v1/user/change-password"),
                        {.status = 200, .body = R"({"code":0,"message":"ok"})"});
    screens.press(Qt::Key_Return);
    waitUntil([&] { return screens.changePasswordViewModel.showSuccess(); });
    QTest::qWait(400);
    album.take(QStringLiteral("password-changed"));
    screens.press(Qt::Key_Escape);
    QTest::qWait(400);
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
    album.take(QStringLiteral("token-history-empty"));
    openTab(screens, TokenTab::Purchase);
    server.state().ledger = devserver::seededLedger(server.state().accounts, QDateTime::currentDateTimeUtc());
    takePurchase(screens, server, album);
    openTab(screens, TokenTab::History);
    album.take(QStringLiteral("token-history"));
    openTab(screens, TokenTab::Proxy);
    screens.settle();
    screens.click(screens.button(QStringLiteral("复制 API Base URL")));
    album.take(QStringLiteral("token-api"));
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
    takeTokens(folder);
    Screens screens;
    Album album(screens, folder);
    album.take(QStringLiteral("dashboard"));
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
