#include "Screens.h"

#include "Support/Table.h"
#include "Views/Software/IconAddress.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QSignalSpy>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// A program that can do everything, agents that can do what theirs can, and one of another kind.
SoftwareCatalog::Entries entries()
{
    SoftwareCatalogEntry tool = testEntry(u"tool"_s);
    tool.installCommand = u"sleep 600"_s;
    tool.uninstallCommand = u"echo 已移除"_s;
    tool.configCommand = u"true"_s;
    SoftwareCatalogEntry claw = testEntry(u"openclaw"_s);
    claw.name = u"OpenClaw"_s;
    claw.category = SoftwareCategory::Framework;
    claw.configCommand = u"true"_s;
    SoftwareCatalogEntry hermes = testEntry(u"hermes"_s);
    hermes.name = u"Hermes Agent"_s;
    hermes.category = SoftwareCategory::Framework;
    return {tool, claw, hermes};
}

QStringList rowNames(const Screens &screens)
{
    QStringList names;
    for (QQuickItem *const row : screens.elements(QAccessible::ListItem))
        names.append(accessibleName(row).section(u'，', 0, 0));
    return names;
}

} // namespace

class tst_SoftwareScreens : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theDashboardComesFirst();
    void buttonsFollowTheStatus_data();
    void buttonsFollowTheStatus();
    void duringAnOperationOnlyCancellingIsPossible();
    void noticesSayWhatTheyShould_data();
    void noticesSayWhatTheyShould();
    void removingAsksFirst();
    void aHeldKeyDoesNotAnswerWhatItAsked();
    void aSwitchedAccountIsToldOnce();
    void searchAndChipsFilterTheList();
    void theKeyboardMovesTheSelection();
    void everyButtonHasANameAndAPlaceInTheTabOrder();
    void aFailureIsShown();
    void aLoginProfileInTheWayIsNamed();
    void factsWithoutAValueAreLeftOut();
    void onlyAWebPageIsALink();
    void aProgramThatLeavesTheCatalogIsForgotten();
    void settingsThatAreNotKeptAreToldOnce();
    void thePaneFollowsTheOutputAndCopiesAllOfIt();
    void iconsComeFromTheAccountServer();

private:
    std::unique_ptr<Screens> m_screens;
};

void tst_SoftwareScreens::init()
{
    Screens::warnings.clear();
    m_screens = std::make_unique<Screens>();
}

void tst_SoftwareScreens::cleanup()
{
    m_screens.reset();
    QCOMPARE(Screens::warnings, QStringList());
}

void tst_SoftwareScreens::theDashboardComesFirst()
{
    QTRY_VERIFY(m_screens->shows(u"近 7 天 Token 用量"_s));
    QVERIFY(m_screens->shows(u"v1.0.0"_s));
    QVERIFY(m_screens->viewModel.softwareList().isEmpty());
    m_screens->openSoftware(entries());
    QVERIFY(!m_screens->shows(u"近 7 天 Token 用量"_s));
    QVERIFY(m_screens->shows(u"从左侧列表中选择一个 AI 软件查看详情"_s));
}

void tst_SoftwareScreens::buttonsFollowTheStatus_data()
{
    using namespace SoftwareStatus;
    const auto row = columns<Value, QString>("status", "buttons");
    row("not installed", NotInstalled, u"安装 -配置 -升级 -卸载"_s);
    row("installed", Installed, u"已安装 启动 配置 升级 卸载"_s);
    row("stopped", Stopped, u"已安装 启动 配置 升级 卸载"_s);
    row("running", Running, u"已安装 停止 配置 升级 卸载"_s);
    row("installing", Installing, u"取消安装 -配置 -升级 -卸载"_s);
    row("uninstalling", Uninstalling, u"取消卸载 -配置 -升级 -卸载"_s);
    row("upgrading", Upgrading, u"取消升级 -配置 -升级 -卸载"_s);
    row("error", Error, u"重试安装 -配置 -升级 -卸载"_s);
}

void tst_SoftwareScreens::buttonsFollowTheStatus()
{
    QFETCH(SoftwareStatus::Value, status);
    QFETCH(QString, buttons);
    m_screens->openSoftware(entries());
    m_screens->select(u"TOOL"_s);
    m_screens->setStatus(u"tool"_s, status);
    QCOMPARE(m_screens->detailButtons(), buttons);
    // In the row's badge, the header and the information; "已安装" is a button, too.
    const qsizetype otherRows = status == SoftwareStatus::NotInstalled ? 2 : 0;
    const qsizetype buttonsOfThatName = status == SoftwareStatus::Installed ? 1 : 0;
    QCOMPARE(m_screens->texts().count(SoftwareStatus::displayName(status)), 3 + otherRows + buttonsOfThatName);
    const bool isUsable = SoftwareStatus::isUsable(status);

    m_screens->select(u"Hermes Agent"_s);
    m_screens->setStatus(u"hermes"_s, status);
    QVERIFY(!m_screens->detailButtons().contains(u"配置"_s));
    QCOMPARE(m_screens->detailButtons().contains(u" 升级"_s), isUsable);
}

void tst_SoftwareScreens::duringAnOperationOnlyCancellingIsPossible()
{
    m_screens->openSoftware(entries());
    m_screens->select(u"TOOL"_s);
    m_screens->click(m_screens->button(u"安装"_s));
    QTRY_COMPARE(m_screens->software(u"tool"_s)->status(), SoftwareStatus::Installing);
    m_screens->settle();
    QCOMPARE(m_screens->detailButtons(), u"取消安装 -配置 -升级 -卸载"_s);
    QVERIFY(m_screens->shows(u"正在安装..."_s));

    m_screens->setStatus(u"openclaw"_s, SoftwareStatus::Installed);
    m_screens->select(u"OpenClaw"_s);
    QCOMPARE(m_screens->detailButtons(), u"-已安装 -启动 -配置 -打开对话 -接入微信 -接入QQ -关闭询问 -升级 -卸载"_s);

    m_screens->select(u"TOOL"_s);
    m_screens->click(m_screens->button(u"取消安装"_s));
    QTRY_VERIFY(!m_screens->viewModel.isOperating());
    QCOMPARE(m_screens->software(u"tool"_s)->status(), SoftwareStatus::NotInstalled);
    QVERIFY(m_screens->detailButtons().startsWith(u"安装 "_s));
    // The run ends a little later, and its shell must still be there.
    QTRY_VERIFY(m_screens->viewModel.terminalOutput()->text().contains("exit code"));
}

void tst_SoftwareScreens::noticesSayWhatTheyShould_data()
{
    const auto row = columns<QString, QString, QString, QString>("button", "version", "title", "message");
    row("reinstall", u"已安装"_s, u""_s, u"已安装"_s, u"如需重新安装 OpenClaw，请先点击「卸载」按钮卸载后再安装。"_s);
    row("reconfigure", u"已配置"_s, u""_s, u"已配置"_s, u"如需重新配置 OpenClaw，请先点击「卸载」按钮卸载后再配置。"_s);
    row("version unknown", u"升级"_s, u""_s, u"已是最新版本"_s, u"当前版本未知，无可用升级"_s);
    row("version known", u"升级"_s, u"0.5.7"_s, u"已是最新版本"_s, u"当前版本 0.5.7，已是最新版本"_s);
}

void tst_SoftwareScreens::noticesSayWhatTheyShould()
{
    QFETCH(QString, button);
    QFETCH(QString, version);
    QFETCH(QString, title);
    QFETCH(QString, message);
    m_screens->scratch.write(u".openclaw/openclaw.json"_s, "{}");
    m_screens->openSoftware(entries());
    m_screens->select(u"OpenClaw"_s);
    m_screens->setStatus(u"openclaw"_s, SoftwareStatus::Installed);
    m_screens->software(u"openclaw"_s)->setVersion(version);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
        m_screens->click(m_screens->button(button));
        QTRY_VERIFY(m_screens->button(u"确定"_s) && m_screens->button(u"确定"_s)->hasActiveFocus());
        QVERIFY(m_screens->alert(title));
        QVERIFY(m_screens->shows(message));
        m_screens->press(key);
        QTRY_VERIFY(!m_screens->button(u"确定"_s));
    }
    QVERIFY(!m_screens->viewModel.isOperating());
}

void tst_SoftwareScreens::removingAsksFirst()
{
    m_screens->openSoftware(entries());
    m_screens->select(u"TOOL"_s);
    AISoftware *const tool = m_screens->software(u"tool"_s);
    m_screens->setStatus(u"tool"_s, SoftwareStatus::Installed);
    const auto ask = [this] {
        m_screens->click(m_screens->button(u"卸载"_s));
        QTRY_VERIFY(m_screens->button(u"取消"_s) && m_screens->button(u"取消"_s)->hasActiveFocus());
        QVERIFY(m_screens->shows(u"确定要卸载 TOOL 吗？此操作不可撤销。"_s));
    };
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
        ask();
        m_screens->press(key);
        QTRY_VERIFY(!m_screens->button(u"取消"_s));
        QCOMPARE(tool->status(), SoftwareStatus::Installed);
    }
    ask();
    m_screens->press(Qt::Key_Tab);
    QVERIFY(m_screens->alert(u"确认卸载"_s)->hasActiveFocus()
            || m_screens->window->activeFocusItem()->property("text") == u"卸载"_s);
    m_screens->press(Qt::Key_Return);
    QTRY_COMPARE(tool->status(), SoftwareStatus::NotInstalled);
    QTRY_VERIFY(m_screens->viewModel.terminalOutput()->text().contains("已移除"));
}

void tst_SoftwareScreens::aHeldKeyDoesNotAnswerWhatItAsked()
{
    m_screens->openSoftware(entries());
    m_screens->select(u"TOOL"_s);
    m_screens->setStatus(u"tool"_s, SoftwareStatus::Installed);
    QQuickItem *const installed = m_screens->button(u"已安装"_s);
    installed->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyPress(m_screens->window, Qt::Key_Return);
    QTRY_VERIFY(m_screens->window->activeFocusItem() != installed);
    m_screens->settle();
    const auto questions = m_screens->elements(QAccessible::AlertMessage);
    QCOMPARE(questions.size(), 1);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, {}, true);
    QCoreApplication::sendEvent(m_screens->window, &held);
    m_screens->settle();
    QCOMPARE(m_screens->elements(QAccessible::AlertMessage), questions);
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(m_screens->elements(QAccessible::AlertMessage).isEmpty());
}

void tst_SoftwareScreens::aSwitchedAccountIsToldOnce()
{
    QVERIFY(!m_screens->viewModel.showUserSwitchedAlert());
    m_screens->scratch.defaults.setTrue(u"needsReconfigureSoftware"_s, true);
    m_screens->openSoftware(entries());
    QTRY_VERIFY(m_screens->alert(u"账号已切换"_s));
    QVERIFY(m_screens->shows(
        u"检测到登录账号发生变更，已停止相关服务并清除旧配置。请对已安装的软件重新点击「配置」以使用当前账号。"_s));
    QTRY_VERIFY(m_screens->button(u"我知道了"_s)->hasActiveFocus());
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(!m_screens->button(u"我知道了"_s));
    QVERIFY(!m_screens->viewModel.showUserSwitchedAlert());
    QVERIFY(!m_screens->scratch.defaults.isTrue(u"needsReconfigureSoftware"_s));
}

void tst_SoftwareScreens::searchAndChipsFilterTheList()
{
    m_screens->openSoftware(entries());
    const QStringList all = rowNames(*m_screens);
    QCOMPARE(all, (QStringList{u"TOOL"_s, u"OpenClaw"_s, u"Hermes Agent"_s}));

    m_screens->press(Qt::Key_F, Qt::ControlModifier);
    m_screens->type(u"hermes"_s);
    QTRY_COMPARE(rowNames(*m_screens), QStringList{u"Hermes Agent"_s});
    m_screens->press(Qt::Key_Escape);
    QTRY_COMPARE(rowNames(*m_screens), all);

    m_screens->click(m_screens->element(QAccessible::RadioButton, u"框架"_s));
    QTRY_COMPARE(rowNames(*m_screens), (QStringList{u"OpenClaw"_s, u"Hermes Agent"_s}));
    m_screens->click(m_screens->element(QAccessible::RadioButton, u"模型"_s));
    QTRY_COMPARE(rowNames(*m_screens), QStringList());
    QVERIFY(m_screens->shows(u"没有找到软件"_s));
    m_screens->click(m_screens->button(u"清除筛选"_s));
    QTRY_COMPARE(rowNames(*m_screens), all);
    QVERIFY(QAccessible::queryAccessibleInterface(m_screens->element(QAccessible::RadioButton, u"全部"_s))
                ->state()
                .checked);
}

void tst_SoftwareScreens::theKeyboardMovesTheSelection()
{
    m_screens->openSoftware(entries());
    const auto selected = [this] { return m_screens->viewModel.selectedSoftware()->id(); };
    m_screens->press(Qt::Key_F, Qt::ControlModifier);
    m_screens->press(Qt::Key_Down);
    QCOMPARE(selected(), u"tool"_s);
    m_screens->press(Qt::Key_Down);
    QCOMPARE(selected(), u"openclaw"_s);
    m_screens->press(Qt::Key_End);
    m_screens->press(Qt::Key_Down);
    QCOMPARE(selected(), u"hermes"_s);
    m_screens->press(Qt::Key_Up);
    QCOMPARE(selected(), u"openclaw"_s);
}

void tst_SoftwareScreens::everyButtonHasANameAndAPlaceInTheTabOrder()
{
    m_screens->openSoftware(entries());
    m_screens->select(u"TOOL"_s);
    m_screens->setStatus(u"tool"_s, SoftwareStatus::Running);
    QSet<QQuickItem *> reached;
    for (QQuickItem *item = m_screens->window->activeFocusItem(); !reached.contains(item);
         item = m_screens->window->activeFocusItem()) {
        reached.insert(item);
        m_screens->press(Qt::Key_Tab);
    }
    const QStringList texts = m_screens->texts();
    QStringList iconsOnly;
    for (const auto role : {QAccessible::Button, QAccessible::ButtonMenu, QAccessible::RadioButton, QAccessible::Link})
        for (QQuickItem *const item : m_screens->elements(role)) {
            const QString name = accessibleName(item);
            QVERIFY2(!name.isEmpty(), item->metaObject()->className());
            QVERIFY2(reached.contains(item), qUtf8Printable(name));
            if (!texts.contains(name))
                iconsOnly.append(name);
        }
    QCOMPARE(iconsOnly, (QStringList{u"刷新"_s, u"检查更新"_s}));
}

void tst_SoftwareScreens::aFailureIsShown()
{
    m_screens->openSoftware(entries());
    m_screens->select(u"OpenClaw"_s);
    QVERIFY(!m_screens->alert(u"未配置安装命令"_s));
    m_screens->click(m_screens->button(u"安装"_s));
    QTRY_VERIFY(!m_screens->viewModel.errorMessage().isEmpty());
    QVERIFY(m_screens->alert(m_screens->viewModel.errorMessage()));
    QVERIFY(m_screens->shows(m_screens->viewModel.errorMessage()));
}

void tst_SoftwareScreens::aLoginProfileInTheWayIsNamed()
{
    m_screens->scratch.write(u".zprofile"_s, "exit\n");
    m_screens->openSoftware(entries());
    const QString sentence = u"登录配置（~/.zprofile 等）中的 exit 或 exec 提前结束了 shell，命令没有执行"_s;
    QTRY_VERIFY(m_screens->alert(sentence));
    QVERIFY(m_screens->shows(sentence));
    // Pushed down, the list is still there.
    m_screens->select(u"OpenClaw"_s);

    m_screens->scratch.write(u".zprofile"_s, {});
    m_screens->click(m_screens->button(u"刷新"_s));
    QTRY_VERIFY(!m_screens->alert(sentence));
}

void tst_SoftwareScreens::factsWithoutAValueAreLeftOut()
{
    m_screens->openSoftware(entries());
    m_screens->select(u"TOOL"_s);
    for (const QString &label : {u"本地版本"_s, u"最新版本"_s, u"安装时间"_s, u"依赖"_s})
        QVERIFY2(!m_screens->shows(label), qUtf8Printable(label));
    AISoftware *const tool = m_screens->software(u"tool"_s);
    tool->setVersion(u"0.5.7"_s);
    tool->setInstalledAt(QDateTime(QDate(2026, 11, 20), QTime(9, 5)));
    for (const QString &text : {u"本地版本"_s, u"0.5.7"_s, u"安装时间"_s, u"2026-11-20 09:05"_s, u"主页"_s, u"工具"_s})
        QVERIFY2(m_screens->shows(text), qUtf8Printable(text));
}

void tst_SoftwareScreens::onlyAWebPageIsALink()
{
    SoftwareCatalog::Entries catalog = entries();
    catalog[0].homepageURL = u"file:///etc/passwd"_s;
    m_screens->openSoftware(catalog);
    m_screens->select(u"OpenClaw"_s);
    QVERIFY(m_screens->element(QAccessible::Link, u"https://openclaw.example"_s));
    m_screens->select(u"TOOL"_s);
    QVERIFY(m_screens->shows(u"file:///etc/passwd"_s));
    QVERIFY(m_screens->elements(QAccessible::Link).isEmpty());
}

void tst_SoftwareScreens::aProgramThatLeavesTheCatalogIsForgotten()
{
    m_screens->openSoftware(entries());
    m_screens->select(u"TOOL"_s);
    m_screens->scratch.setCatalog({entries()[1]});
    for (int time = 0; time < 2; ++time) {
        m_screens->press(Qt::Key_F5);
        QTRY_VERIFY_WITH_TIMEOUT(!m_screens->viewModel.isLoading(), 60'000);
        m_screens->settle();
        QCOMPARE(rowNames(*m_screens), QStringList{u"OpenClaw"_s});
        QVERIFY(m_screens->shows(u"选择一个软件"_s));
    }
    // Nor does the dashboard, which was hidden meanwhile, still show it.
    m_screens->click(m_screens->button(u"仪表盘"_s));
    m_screens->settle();
    QCOMPARE(rowNames(*m_screens), QStringList{u"OpenClaw"_s});
}

void tst_SoftwareScreens::settingsThatAreNotKeptAreToldOnce()
{
    UserDefaults &defaults = m_screens->scratch.defaults;
    defaults.flush();
    const QString file = m_screens->scratch.path(u".config/com.vaelix.app.json"_s);
    QVERIFY(QFile::remove(file) && QDir().mkpath(file));
    defaults.setText(u"key"_s, u"x"_s);
    QTRY_VERIFY(m_screens->alert(u"无法保存到磁盘"_s));
    QVERIFY(m_screens->shows(u"设置没有保存：无法读取 %1：该位置是一个文件夹"_s.arg(file)));
    QTRY_VERIFY(m_screens->button(u"好"_s)->hasActiveFocus());
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(!m_screens->button(u"好"_s));
    defaults.setText(u"key"_s, u"y"_s);
    defaults.flush();
    m_screens->settle();
    QVERIFY(!m_screens->button(u"好"_s));
}

void tst_SoftwareScreens::thePaneFollowsTheOutputAndCopiesAllOfIt()
{
    m_screens->window->resize(900, 600);
    m_screens->openSoftware(entries());
    m_screens->select(u"TOOL"_s);
    m_screens->software(u"tool"_s)->setVersion(u"0.5.7"_s);
    m_screens->software(u"tool"_s)->setInstalledAt(QDateTime::currentDateTime());
    m_screens->software(u"tool"_s)->setStatus(SoftwareStatus::Error);
    QVERIFY(!m_screens->element(QAccessible::Pane, u"TOOL"_s));
    TerminalOutput *const output = m_screens->viewModel.terminalOutput();
    for (int line = 0; line < 2000; ++line)
        output->append(u"第 %1 行\n"_s.arg(line).toUtf8());
    QTRY_VERIFY(m_screens->element(QAccessible::Pane, u"TOOL"_s));
    QQuickItem *const pane = m_screens->element(QAccessible::Pane, u"TOOL"_s);
    QVERIFY(pane->height() >= 200 && pane->height() <= 400);
    QTRY_VERIFY(pane->mapToScene(QPointF(0, pane->height())).y() <= 600);
    QQuickItem *const text = m_screens->element(QAccessible::StaticText, u"输出"_s);
    QTRY_VERIFY(text->property("text").toString().endsWith(u"第 1999 行\n"_s));
    QVERIFY(text->property("text").toString().startsWith(u"...\n"_s));
    // Its last line stands at the lower edge of what can be seen.
    QQuickItem *const view = text->parentItem()->parentItem();
    QTRY_COMPARE(view->property("contentY").toReal() + view->height(), text->height());

    m_screens->settle();
    m_screens->click(m_screens->button(u"复制输出"_s));
    QCOMPARE(QGuiApplication::clipboard()->text().toUtf8(), output->text());
}

void tst_SoftwareScreens::iconsComeFromTheAccountServer()
{
    qputenv("VAELIX_SERVER_ORIGIN", "http://127.0.0.1:8123");
    QCOMPARE(IconAddress::resolve({}), QUrl());
    QCOMPARE(IconAddress::resolve(u"https://example.org/a.png"_s), QUrl(u"https://example.org/a.png"_s));
    QCOMPARE(IconAddress::resolve(u"/static/icons/x.png"_s), QUrl(u"http://127.0.0.1:8123/static/icons/x.png"_s));
    qunsetenv("VAELIX_SERVER_ORIGIN");
}

QTEST_MAIN(tst_SoftwareScreens)
#include "tst_SoftwareScreens.moc"
