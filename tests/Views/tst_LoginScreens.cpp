#include "Screens.h"

#include "Support/Table.h"
#include "Utilities/Deployment.h"
#include "Views/Auth/LoginNavigation.h"

#include <QDirIterator>
#include <QFile>
#include <QHttpServer>
#include <QJSEngine>
#include <QSignalSpy>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// Its query has everything that must arrive as it was sent.
const QByteArray callbackAddress =
    "x-vaelix://callback?token=a%2Bbc%25%26d%3D&user_id=7&display_name=%E5%BC%A0%E4%BC%9F";

/// A web server on loopback whose pages a test writes.
class PageServer
{
public:
    PageServer()
    {
        m_server.setMissingHandler([this](const QHttpServerRequest &request, QHttpServerResponder &&responder) {
            cookies.insert(request.url().path(), request.value("Cookie"));
            answer(request.url().path(), responder);
        });
        m_port = m_server.listen(QHostAddress::LocalHost);
    }

    QString origin(const QString &host = u"127.0.0.1"_s) const { return u"http://%1:%2"_s.arg(host).arg(m_port); }

    QHash<QString, QByteArray> pages;
    /// What is answered with a redirection, and where it leads.
    QHash<QString, QByteArray> redirections;
    QByteArray setCookie;
    /// The cookies that came with the last request for a path.
    QHash<QString, QByteArray> cookies;

private:
    void answer(const QString &path, QHttpServerResponder &responder)
    {
        using Status = QHttpServerResponder::StatusCode;
        if (redirections.contains(path))
            responder.write(QByteArray(), {{"Location", redirections[path]}}, Status::Found);
        else
            responder.write(pages.value(path),
                            {{"Content-Type", "text/html; charset=utf-8"}, {"Set-Cookie", setCookie}},
                            pages.contains(path) ? Status::Ok : Status::NotFound);
    }

    QHttpServer m_server;
    quint16 m_port = 0;
};

bool isWebEngineLoaded()
{
    QFile maps(u"/proc/self/maps"_s);
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("libQt6WebEngine");
}

QQuickItem *findByType(QQuickItem *item, const char *type)
{
    if (QByteArray(item->metaObject()->className()).startsWith(type))
        return item;
    for (QQuickItem *const child : item->childItems())
        if (QQuickItem *const found = findByType(child, type))
            return found;
    return nullptr;
}

} // namespace

class tst_LoginScreens : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theWebEngineIsNotLoadedBeforeItsPage();
    void theWelcomePanelPresentsTheProduct();
    void theGateOpensAndClosesWithTheLogin();
    void theAccountMenuShowsWhoIsSignedIn();
    void theMenuIsWorkedByKeys();
    void theMenuHasADivider();
    void anAddressFromOutsideIsAskedAbout();
    void anImpossibleAddressIsRefused();
    void addressesAreToldApart_data();
    void addressesAreToldApart();
    void theStyleSheetArrivesIntact_data();
    void theStyleSheetArrivesIntact();
    void aLoginEndsOnce_data();
    void aLoginEndsOnce();
    void theBackButtonDiscardsALoginThatIsEnding();
    void onlyTheAccountServersCallbackPageIsASuccess_data();
    void onlyTheAccountServersCallbackPageIsASuccess();
    void aPageHasOneStyleElement();
    void nothingOfALoginStaysOnTheDisk();
    void aLoadedPageIsNeverTakenAway();
    void aServerThatCannotBeReachedIsReportedAndTriedAgain();

private:
    void start(Screens::Start start, const QString &serverOrigin = u"http://127.0.0.1:9"_s);
    QQuickItem *openWebPage();
    QObject *webEngineView();
    QString evaluate(const QString &script);
    bool isSelected(const QString &section);
    QQuickItem *accountMenu();

    PageServer m_server;
    std::unique_ptr<Screens> m_screens;
};

void tst_LoginScreens::init()
{
    m_server.pages = {{u"/authorize"_s, "<head></head><body>登录</body>"}};
    m_server.redirections.clear();
    m_server.setCookie.clear();
    Screens::warnings.clear();
    qputenv("VAELIX_SERVER_ORIGIN", m_server.origin().toUtf8());
}

void tst_LoginScreens::cleanup()
{
    m_screens.reset();
    qunsetenv("VAELIX_SERVER_ORIGIN");
    QCOMPARE(Screens::warnings.join(u'\n'), QString());
}

void tst_LoginScreens::start(Screens::Start start, const QString &serverOrigin)
{
    m_screens = std::make_unique<Screens>(start, serverOrigin);
}

/// Presses the login button; gives the view that shows the server's page.
QQuickItem *tst_LoginScreens::openWebPage()
{
    m_screens->click(m_screens->button(u"登录 / 注册"_s));
    return findByType(m_screens->window->contentItem(), "WebAuthView");
}

QObject *tst_LoginScreens::webEngineView()
{
    return m_screens->webPage();
}

/// What a script in the shown page gives, as a text.
QString tst_LoginScreens::evaluate(const QString &script)
{
    QJSEngine *const engine = &m_screens->engine;
    QJSValue results = engine->newArray();
    const QJSValue note =
        engine->evaluate(u"(function(results) { return value => results.push(value) })"_s).call({results});
    QMetaObject::invokeMethod(webEngineView(), "runJavaScript", Q_ARG(QString, script), Q_ARG(QJSValue, note));
    if (!QTest::qWaitFor([&] { return results.property(u"length"_s).toInt() == 1; }, 10000))
        qFatal("the page does not answer");
    return results.property(0).toString();
}

bool tst_LoginScreens::isSelected(const QString &section)
{
    QQuickItem *const row = m_screens->button(section);
    return row && QAccessible::queryAccessibleInterface(row)->state().selected;
}

QQuickItem *tst_LoginScreens::accountMenu()
{
    return m_screens->elements(QAccessible::ButtonMenu).value(0);
}

void tst_LoginScreens::theWebEngineIsNotLoadedBeforeItsPage()
{
    QVERIFY(!isWebEngineLoaded());
    start(Screens::Start::SignedIn);
    QVERIFY(m_screens->button(u"仪表盘"_s));
    m_screens->auth.logout();
    QTRY_VERIFY(m_screens->button(u"登录 / 注册"_s));
    QVERIFY(!isWebEngineLoaded());
    QVERIFY(openWebPage());
    QVERIFY(isWebEngineLoaded());
}

void tst_LoginScreens::theWelcomePanelPresentsTheProduct()
{
    start(Screens::Start::SignedOut);
    QCOMPARE(
        m_screens->texts(),
        (QStringList{u"AI"_s, u"Vaelix"_s, u"本地 AI 软件管理平台"_s, u"管理本地 AI 软件 (Ollama, Qwen, Llama...)"_s,
                     u"接入 586 个云端大模型"_s, u"实时 Token 用量追踪"_s, u"登录 / 注册"_s,
                     u"使用手机号、密码或微信登录"_s, u"登录即表示同意"_s, u"服务条款"_s}));
    QVERIFY(m_screens->button(u"登录 / 注册"_s)->hasActiveFocus());
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(m_screens->shows(u"登录 Vaelix"_s));
    const QString firstState = *m_screens->scratch.defaults.text(u"oauth_state"_s);
    m_screens->click(m_screens->button(u"返回"_s));
    QTRY_VERIFY(m_screens->button(u"登录 / 注册"_s));
    QVERIFY(openWebPage());
    QVERIFY(*m_screens->scratch.defaults.text(u"oauth_state"_s) != firstState);
}

void tst_LoginScreens::theGateOpensAndClosesWithTheLogin()
{
    start(Screens::Start::SignedOut);
    m_screens->signIn(u"张伟"_s);
    QTRY_VERIFY(isSelected(u"仪表盘"_s));
    QVERIFY(!m_screens->button(u"登录 / 注册"_s));
    m_screens->click(m_screens->button(u"Token 管理"_s));
    QVERIFY(!isSelected(u"仪表盘"_s));

    m_screens->auth.logout();
    QTRY_VERIFY(m_screens->button(u"登录 / 注册"_s));
    QVERIFY(!m_screens->button(u"仪表盘"_s));

    m_screens->window->showMinimized();
    m_screens->signIn(u"张伟"_s);
    QTRY_VERIFY(isSelected(u"仪表盘"_s));
    QTRY_VERIFY(m_screens->window->isActive() && m_screens->window->visibility() == QWindow::Windowed);
    for (const auto visibility : {QWindow::Maximized, QWindow::FullScreen}) {
        m_screens->window->setVisibility(visibility);
        m_screens->signIn(u"张伟"_s);
        QCOMPARE(m_screens->window->visibility(), visibility);
        m_screens->settle();
        QCOMPARE(m_screens->window->visibility(), visibility);
        m_screens->window->showMinimized();
        m_screens->signIn(u"张伟"_s);
        QTRY_COMPARE(m_screens->window->visibility(), visibility);
    }

    m_screens->click(m_screens->button(u"Token 管理"_s));
    QVERIFY(!isSelected(u"仪表盘"_s));
    m_screens->auth.handleCallback(QUrl(u"x-vaelix://callback?token=t&user_id=another"_s));
    QTRY_VERIFY(isSelected(u"仪表盘"_s));
}

void tst_LoginScreens::theAccountMenuShowsWhoIsSignedIn()
{
    start(Screens::Start::SignedOut);
    for (const auto &[name, label] : {std::pair(u"张伟"_s, u"张伟"_s), std::pair(u""_s, u"用户"_s)}) {
        m_screens->signIn(name);
        QTRY_VERIFY(m_screens->element(QAccessible::ButtonMenu, label));
        QVERIFY(m_screens->shows(label));
    }
}

void tst_LoginScreens::theMenuIsWorkedByKeys()
{
    start(Screens::Start::SignedIn);
    accountMenu()->forceActiveFocus(Qt::TabFocusReason);
    m_screens->press(Qt::Key_Space);
    QTRY_VERIFY(m_screens->element(QAccessible::MenuItem, u"退出登录"_s));
    m_screens->settle();
    QQuickItem *const item = m_screens->element(QAccessible::MenuItem, u"修改密码"_s);
    QVERIFY(item->hasActiveFocus());
    QVERIFY(item->mapToScene({}).y() < accountMenu()->mapToScene({}).y());
    m_screens->press(Qt::Key_Escape);
    QTRY_VERIFY(!m_screens->element(QAccessible::MenuItem, u"退出登录"_s));
    QTRY_VERIFY(accountMenu()->hasActiveFocus());
    QVERIFY(m_screens->auth.isLoggedIn());

    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(m_screens->element(QAccessible::MenuItem, u"退出登录"_s));
    m_screens->press(Qt::Key_Down);
    m_screens->press(Qt::Key_Return);
    QVERIFY(!m_screens->auth.isLoggedIn());
    QTRY_VERIFY(m_screens->button(u"登录 / 注册"_s));
}

void tst_LoginScreens::theMenuHasADivider()
{
    start(Screens::Start::SignedIn);
    m_screens->click(accountMenu());
    QTRY_VERIFY(m_screens->element(QAccessible::MenuItem, u"退出登录"_s));
    m_screens->settle();
    QQuickItem *const first = m_screens->element(QAccessible::MenuItem, u"修改密码"_s);
    QQuickItem *const divider = findByType(first->parentItem(), "Separator");
    QVERIFY(divider && divider->isVisible());
    QCOMPARE(divider->height(), 1.0);
    QCOMPARE(divider->width(), first->width());
    const qreal y = divider->mapToScene({}).y();
    QVERIFY(y >= first->mapToScene({0, first->height()}).y());
    QVERIFY(y + 1 <= m_screens->element(QAccessible::MenuItem, u"退出登录"_s)->mapToScene({}).y());
}

void tst_LoginScreens::anAddressFromOutsideIsAskedAbout()
{
    const QUrl address(u"x-vaelix://callback?token=t&user_id=8&display_name=%3Cb%3E%E6%9D%8E%E5%A8%9C"_s);
    const QString title = u"登录这个账户？"_s;
    start(Screens::Start::SignedOut);
    m_screens->auth.handleOpenedAddress(address);
    QTRY_VERIFY(m_screens->alert(title) && m_screens->button(u"登录"_s)->hasActiveFocus());
    QVERIFY(
        m_screens->shows(u"收到一个登录地址，账户：<b>李娜（8）\n\n只有刚才是你自己在浏览器中登录的，才应继续。"_s));
    QVERIFY(!m_screens->auth.isLoggedIn());
    m_screens->press(Qt::Key_Escape);
    QTRY_VERIFY(!m_screens->alert(title));
    QVERIFY(!m_screens->auth.isLoggedIn());

    m_screens->signIn(u"张伟"_s);
    QTRY_VERIFY(m_screens->button(u"仪表盘"_s));
    m_screens->auth.handleOpenedAddress(address);
    QTRY_VERIFY(m_screens->alert(title) && m_screens->button(u"取消"_s)->hasActiveFocus());
    QVERIFY(m_screens->shows(u"收到一个登录地址，账户：<b>李娜（8）\n\n继续会替换当前账户 张伟 的登录；账户不同时，"
                             u"它的智能体会停止并需要重新配置。"_s));
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(!m_screens->alert(title));
    QCOMPARE(m_screens->auth.displayName(), u"张伟"_s);
    QCOMPARE(m_screens->endedProcesses, QStringList());

    m_screens->auth.handleOpenedAddress(address);
    QTRY_VERIFY(m_screens->alert(title) && m_screens->button(u"取消"_s)->hasActiveFocus());
    m_screens->settle();
    m_screens->click(m_screens->button(u"登录"_s));
    QCOMPARE(m_screens->auth.userId(), u"8"_s);
    QTRY_VERIFY(!m_screens->alert(title) && m_screens->button(u"仪表盘"_s));
}

void tst_LoginScreens::anImpossibleAddressIsRefused()
{
    m_server.redirections.insert(u"/authorize"_s, "/auth/callback");
    m_server.redirections.insert(u"/auth/callback"_s, "x-vaelix://callback?token=t%0D%0AX:1&user_id=7");
    start(Screens::Start::SignedOut, m_server.origin());
    openWebPage();
    QTRY_VERIFY_WITH_TIMEOUT(m_screens->button(u"好"_s) && m_screens->button(u"好"_s)->hasActiveFocus(), 30000);
    QVERIFY(m_screens->alert(u"无法登录"_s));
    QVERIFY(m_screens->shows(u"登录地址中含有不允许的字符，已拒绝。当前账户没有改变。"_s));
    QVERIFY(!m_screens->auth.isLoggedIn());
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(!m_screens->alert(u"无法登录"_s) && m_screens->button(u"登录 / 注册"_s));
}

void tst_LoginScreens::addressesAreToldApart_data()
{
    const auto row = columns<QString, bool, bool>("address", "isCallback", "isCallbackPage");
    row("callback", u"x-vaelix://callback?token=1"_s, true, false);
    row("any host", u"x-vaelix://elsewhere.example/auth/callback"_s, true, false);
    row("scheme in capitals", u"X-Vaelix://callback"_s, true, false);
    row("longer scheme", u"x-vaelix2://callback"_s, false, false);
    row("scheme in the query", u"https://LOGIN/?to=x-vaelix://callback"_s, false, false);
    row("account server", u"https://ACCOUNT/auth/callback?code=1"_s, false, true);
    row("login server", u"https://LOGIN/auth/callback"_s, false, true);
    row("host under it", u"https://eu.ACCOUNT/auth/callback"_s, false, true);
    row("path below it", u"https://ACCOUNT/auth/callback/done"_s, false, true);
    row("another page", u"https://ACCOUNT/auth/verify"_s, false, false);
    row("path further down", u"https://ACCOUNT/x/auth/callback"_s, false, false);
    row("host that only ends alike", u"https://evilACCOUNT/auth/callback"_s, false, false);
    row("host that only begins alike", u"https://ACCOUNT.evil.example/auth/callback"_s, false, false);
    row("host as user name", u"https://ACCOUNT@evil.example/auth/callback"_s, false, false);
    row("no host", u"file:///auth/callback"_s, false, false);
    row("nothing", u""_s, false, false);
}

void tst_LoginScreens::addressesAreToldApart()
{
    QFETCH(QString, address);
    qunsetenv("VAELIX_SERVER_ORIGIN");
    address.replace(u"ACCOUNT"_s, QUrl(Deployment::accountOrigin()).host());
    address.replace(u"LOGIN"_s, QUrl(Deployment::loginOrigin()).host());
    QTEST(LoginNavigation::isCallback(QUrl(address)), "isCallback");
    QTEST(LoginNavigation::isCallbackPage(QUrl(address)), "isCallbackPage");
}

void tst_LoginScreens::theStyleSheetArrivesIntact_data()
{
    const auto row = columns<QString>("sheet");
    row("plain", u"a { color: red }\nb {}"_s);
    row("backtick", u"a::after { content: '`' }"_s);
    row("backslash", uR"(a::after { content: '\2014' })"_s);
    row("both together", uR"(\`)"_s);
}

void tst_LoginScreens::theStyleSheetArrivesIntact()
{
    QFETCH(QString, sheet);
    QJSEngine page;
    page.evaluate(u"var added; var document = { getElementById: () => null, createElement: () => ({}),"
                  "head: { appendChild: element => { added = element } } }"_s);
    QVERIFY(!page.evaluate(LoginNavigation::styleScript(sheet)).isError());
    QCOMPARE(page.evaluate(u"added.textContent"_s).toString(), sheet);
}

void tst_LoginScreens::aLoginEndsOnce_data()
{
    const auto row = columns<QByteArray>("page");
    row("script", "<script>location = 'TO'</script>");
    row("link", "<a id=a href='TO'>完成</a><script>document.getElementById('a').click()</script>");
    row("link clicked", "<a href='TO' style='position:fixed;inset:0'>完成</a>");
    row("link to a new window", "<a href='TO' target=_blank style='position:fixed;inset:0'>完成</a>");
    row("form", "<form method=post action='TO'></form><script>document.forms[0].submit()</script>");
    row("redirection", {});
    row("meta", "<meta http-equiv=refresh content='0;url=TO'>");
}

void tst_LoginScreens::aLoginEndsOnce()
{
    QFETCH(QByteArray, page);
    const bool isClicked = page.contains("fixed");
    const QString lastPage = isClicked ? u"/authorize"_s : u"/auth/callback"_s;
    if (!isClicked)
        m_server.redirections.insert(u"/authorize"_s, "/auth/callback");
    if (page.isEmpty())
        m_server.redirections.insert(u"/auth/callback"_s, callbackAddress);
    // Chromium takes no clicks before a page is drawn.
    const QByteArray tellWhenDrawn = "<script>requestAnimationFrame(() => requestAnimationFrame("
                                     "() => { document.title = 'drawn' }))</script>";
    m_server.pages.insert(lastPage, "<head></head><body>" + page.replace("TO", callbackAddress) + tellWhenDrawn);
    start(Screens::Start::SignedOut, m_server.origin());
    QQuickItem *const view = openWebPage();
    QVERIFY(view);
    QSignalSpy callbacks(view, SIGNAL(callback(QUrl)));
    QSignalSpy signedIn(&m_screens->auth, &AuthService::activationRequested);
    if (isClicked) {
        QTRY_COMPARE_WITH_TIMEOUT(webEngineView()->property("title").toString(), u"drawn"_s, 30000);
        m_screens->settle();
        QTest::mouseClick(m_screens->window, Qt::LeftButton, {}, QPoint(300, 300));
    }
    QTRY_COMPARE_WITH_TIMEOUT(callbacks.size(), 1, 30000);
    QCOMPARE(callbacks.first().first().toUrl().toEncoded(), callbackAddress);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!m_screens->auth.isLoggedIn());
    if (!isClicked)
        QTRY_VERIFY(m_screens->alert(u"登录成功"_s));
    QTRY_VERIFY(m_screens->auth.isLoggedIn());
    QVERIFY(clock.elapsed() >= 750);
    QTRY_VERIFY(m_screens->button(u"仪表盘"_s));
    QCOMPARE(callbacks.size(), 1);
    QCOMPARE(signedIn.size(), 1);
    QCOMPARE(m_screens->auth.displayName(), u"张伟"_s);
}

void tst_LoginScreens::theBackButtonDiscardsALoginThatIsEnding()
{
    m_server.redirections.insert(u"/authorize"_s, "/auth/callback");
    m_server.redirections.insert(u"/auth/callback"_s, callbackAddress);
    start(Screens::Start::SignedOut, m_server.origin());
    const QPointer view = openWebPage();
    QSignalSpy callbacks(view, SIGNAL(callback(QUrl)));
    QTRY_COMPARE_WITH_TIMEOUT(callbacks.size(), 1, 30000);
    QTRY_VERIFY(m_screens->alert(u"登录成功"_s));
    m_screens->click(m_screens->button(u"返回"_s));
    QTRY_VERIFY(m_screens->button(u"登录 / 注册"_s) && !view);

    m_server.redirections.clear();
    QSignalSpy signedIn(&m_screens->auth, &AuthService::activationRequested);
    QVERIFY(!m_screens->alert(u"登录成功"_s));
    QVERIFY(!signedIn.wait(1000));
}

void tst_LoginScreens::onlyTheAccountServersCallbackPageIsASuccess_data()
{
    const auto row = columns<QString, bool>("host", "isSuccess");
    row("the account server", u"127.0.0.1"_s, true);
    row("another host", u"localhost"_s, false);
}

void tst_LoginScreens::onlyTheAccountServersCallbackPageIsASuccess()
{
    QFETCH(QString, host);
    QFETCH(bool, isSuccess);
    m_server.redirections.insert(u"/authorize"_s, m_server.origin(host).toUtf8() + "/auth/callback");
    m_server.pages.insert(u"/auth/callback"_s, "<head></head><body>完成");
    start(Screens::Start::SignedOut, m_server.origin());
    QQuickItem *const view = openWebPage();
    QSignalSpy callbackLoading(view, SIGNAL(callbackLoading()));
    QTRY_VERIFY_WITH_TIMEOUT(view->property("hasLoaded").toBool(), 30000);
    QCOMPARE(callbackLoading.size(), int(isSuccess));
    m_screens->settle();
    QCOMPARE(m_screens->alert(u"登录成功"_s) != nullptr, isSuccess);
    QVERIFY(!m_screens->auth.isLoggedIn());
}

void tst_LoginScreens::aPageHasOneStyleElement()
{
    m_server.pages[u"/authorize"_s] = "<head></head><body><input type=text id=i></body>";
    start(Screens::Start::SignedOut, m_server.origin());
    QQuickItem *const view = openWebPage();
    QTRY_VERIFY_WITH_TIMEOUT(view->property("hasLoaded").toBool(), 30000);
    const QString count = u"document.querySelectorAll('[id=__vaelix_native_css__]').length"_s;
    QTRY_COMPARE(evaluate(count), u"1"_s);
    QVERIFY(
        evaluate(u"document.getElementById('__vaelix_native_css__').textContent"_s).contains(u"::-webkit-scrollbar"));
    QCOMPARE(evaluate(u"getComputedStyle(document.getElementById('i')).padding"_s), u"7px 10px"_s);
    QCOMPARE(evaluate(u"getComputedStyle(document.body).backgroundColor"_s), u"rgba(0, 0, 0, 0)"_s);

    evaluate(u"document.body.id = 'old'; location.reload()"_s);
    QTRY_COMPARE(evaluate(u"document.body ? document.body.id : 'loading'"_s), u""_s);
    QTRY_COMPARE(evaluate(count), u"1"_s);
    evaluate(LoginNavigation::styleScript());
    QCOMPARE(evaluate(count), u"1"_s);
}

void tst_LoginScreens::nothingOfALoginStaysOnTheDisk()
{
    const QByteArray secret = "secret-token-of-a-login";
    m_server.setCookie = "vaelix_session=" + secret + "; Path=/; Max-Age=100000";
    m_server.redirections.insert(u"/authorize"_s, "/auth/callback?code=1");
    m_server.pages.insert(u"/auth/callback"_s,
                          "<head></head><body><script>localStorage.token = '" + secret
                              + "'; location = 'x-vaelix://callback?user_id=7&token=" + secret + "'</script>");
    start(Screens::Start::SignedOut, m_server.origin());
    for (int login = 1; login <= 2; ++login) {
        QPointer view = openWebPage();
        QTRY_VERIFY_WITH_TIMEOUT(m_screens->auth.isLoggedIn(), 30000);
        QCOMPARE(m_server.cookies.value(u"/authorize"_s), QByteArray());
        m_screens->auth.logout();
        QTRY_VERIFY(!view);
    }
    QDirIterator files(qEnvironmentVariable("XDG_DATA_HOME"), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY2(!file.readAll().contains(secret), qPrintable(file.fileName()));
    }
}

void tst_LoginScreens::aLoadedPageIsNeverTakenAway()
{
    m_server.pages.insert(u"/second"_s, "<head></head><body id=second>验证码</body>");
    start(Screens::Start::SignedOut, m_server.origin());
    QQuickItem *const view = openWebPage();
    QTRY_VERIFY_WITH_TIMEOUT(view->property("hasLoaded").toBool(), 30000);
    view->setProperty("patienceMs", 100);
    evaluate(u"location = '/second'; 0"_s);
    QTRY_COMPARE_WITH_TIMEOUT(evaluate(u"document.body ? document.body.id : ''"_s), u"second"_s, 30000);
    QVERIFY(!QTest::qWaitFor([&] { return view->property("hasFailed").toBool(); }, 1000));

    // A step that fails leaves what was typed into the one before.
    evaluate(u"document.body.title = 'typed'; location = 'http://127.0.0.1:9/'; 0"_s);
    QTRY_VERIFY_WITH_TIMEOUT(m_screens->shows(u"网页没有打开，请检查网络连接后再试。"_s), 30000);
    QVERIFY(m_screens->webPage()->isVisible());
    QCOMPARE(evaluate(u"document.body.title"_s), u"typed"_s);
    evaluate(u"location = '/authorize'; 0"_s);
    QTRY_VERIFY_WITH_TIMEOUT(!m_screens->shows(u"网页没有打开，请检查网络连接后再试。"_s), 30000);
}

void tst_LoginScreens::aServerThatCannotBeReachedIsReportedAndTriedAgain()
{
    start(Screens::Start::SignedOut, u"http://127.0.0.1:9"_s);
    openWebPage();
    QVERIFY(m_screens->shows(u"正在打开登录页面..."_s));
    QTRY_VERIFY_WITH_TIMEOUT(m_screens->button(u"重试"_s), 30000);
    QVERIFY(m_screens->shows(u"无法打开登录页面"_s));
    const QString firstState = *m_screens->scratch.defaults.text(u"oauth_state"_s);
    m_screens->click(m_screens->button(u"重试"_s));
    QVERIFY(m_screens->shows(u"正在打开登录页面..."_s));
    QVERIFY(*m_screens->scratch.defaults.text(u"oauth_state"_s) != firstState);
    QTRY_VERIFY_WITH_TIMEOUT(m_screens->button(u"重试"_s), 30000);
}

QTEST_MAIN(tst_LoginScreens)
#include "tst_LoginScreens.moc"
