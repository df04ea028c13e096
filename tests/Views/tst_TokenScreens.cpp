// The token section, the dashboard and the sheet for a new password in the real window, over the local server.

#include "History.h"
#include "Screens.h"
#include "Seed.h"
#include "Support/ScannedCode.h"
#include "Support/Served.h"
#include "Support/Table.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTcpSocket>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString balancePath = u"/api/v1/token/balance"_s;
const QString packagesPath = u"/api/v1/token/packages"_s;
const QString rechargePath = u"/api/v1/token/recharge"_s;
const QString usagePath = u"/api/v1/token/usage/weekly"_s;
const QString passwordPath = u"/api/v1/user/change-password"_s;
const QString closeButton = u"关闭"_s;

const TokenPackage &basic = TokenPackage::mockPackages().at(0);
const TokenPackage &standard = TokenPackage::mockPackages().at(1);
const TokenPackage &pro = TokenPackage::mockPackages().at(2);

/// Does what the button of a payment page does.
void pay(const QUrl &page)
{
    QTcpSocket socket;
    socket.connectToHost(page.host(), quint16(page.port()));
    socket.write("POST " + page.path().toUtf8() + " HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n");
    QTRY_VERIFY(socket.bytesAvailable() > 0);
    QVERIFY(socket.readLine().contains(" 303 "));
}

} // namespace

class tst_TokenScreens : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aPackageIsBought();
    void aCodeTooLongToDrawIsToldOf();
    void aPaymentSheetThatIsClosedStopsAsking_data();
    void aPaymentSheetThatIsClosedStopsAsking();
    void messagesOfAPurchase_data();
    void messagesOfAPurchase();
    void aChosenPackageIsTheOneOnOffer();
    void withoutAServerThereAreStillPackages();
    void theHistoryIsATable();
    void theAPIPageCopiesWhatItShows();
    void signingOutEndsAPurchase();
    void theDashboardCounts();
    void theDashboardsChart_data();
    void theDashboardsChart();
    void aPasswordIsChanged();
    void theButtonNeedsAllThreePasswords();
    void aRefusedPasswordKeepsWhatWasTyped();

private:
    void fail(const QString &path, int status, const QByteArray &method = "GET")
    {
        m_server->faults().set(method, path, {.status = status, .body = "oops"});
    }
    void openTokens();
    void openTab(const QString &title);
    void choosePackage(const TokenPackage &package);
    void buy(const TokenPackage &package);
    void openPasswordSheet();
    void typeInto(const QString &label, const QString &text);
    void typePasswords(const QString &current, const QString &wanted)
    {
        typeInto(u"当前密码"_s, current);
        typeInto(u"新密码"_s, wanted);
        typeInto(u"确认新密码"_s, wanted);
    }
    bool hasText(const QString &part) const { return !m_screens->texts().filter(part).isEmpty(); }
    qsizetype requestsFor(const QString &ending) const;

    std::unique_ptr<devserver::DevServer> m_server;
    std::unique_ptr<Screens> m_screens;
};

/// A new account server, and somebody signed in who has a history.
void tst_TokenScreens::init()
{
    Screens::warnings.clear();
    devserver::ServerState state{.accounts = devserver::embeddedAccounts().value()};
    const devserver::Account account = state.accounts.all().first();
    const QString token = state.accounts.issueToken(account);
    state.ledger = devserver::seededLedger(state.accounts, QDateTime::currentDateTimeUtc());
    m_server = std::make_unique<devserver::DevServer>(std::move(state));
    m_screens = std::make_unique<Screens>(Screens::Start::SignedOut, m_server->start(0).value());
    m_screens->signIn(account.displayName, token);
    QTRY_VERIFY(m_screens->shows(u"近 7 天 Token 用量"_s));
}

void tst_TokenScreens::cleanup()
{
    m_screens.reset();
    m_server.reset();
    QCOMPARE(Screens::warnings, QStringList());
}

void tst_TokenScreens::openTokens()
{
    m_screens->click(m_screens->button(u"Token 管理"_s));
    QTRY_VERIFY(m_screens->tokenViewModel.packages()->rowCount() > 0 && !m_screens->tokenViewModel.isLoading());
    m_screens->settle();
}

void tst_TokenScreens::openTab(const QString &title)
{
    m_screens->click(m_screens->element(QAccessible::RadioButton, title));
    m_screens->settle();
}

void tst_TokenScreens::choosePackage(const TokenPackage &package)
{
    const QStringList parts{package.name, package.formattedTokenCount() + u" Token"_s, package.formattedPrice()};
    m_screens->click(m_screens->element(QAccessible::RadioButton, parts.join(u'，')));
    m_screens->settle();
}

/// Goes through the question to the order.
void tst_TokenScreens::buy(const TokenPackage &package)
{
    choosePackage(package);
    m_screens->click(m_screens->button(u"确认购买 %1 - %2"_s.arg(package.name, package.formattedPrice())));
    QTRY_VERIFY(m_screens->button(u"微信支付"_s) && m_screens->button(u"微信支付"_s)->hasActiveFocus());
    m_screens->press(Qt::Key_Return);
}

qsizetype tst_TokenScreens::requestsFor(const QString &ending) const
{
    return std::ranges::count_if(m_server->requests(),
                                 [&](const auto &request) { return request.path.endsWith(ending); });
}

void tst_TokenScreens::aPackageIsBought()
{
    openTokens();
    const qint64 balance = m_screens->tokenViewModel.balance()->totalBalance();
    const int rows = m_screens->tokenViewModel.transactions()->rowCount();
    QVERIFY(m_screens->shows(u"点选一个套餐后即可购买"_s));
    choosePackage(standard);
    m_screens->click(m_screens->button(u"确认购买 标准版 - ¥39.90"_s));
    QTRY_VERIFY(m_screens->alert(u"确认购买"_s));
    QVERIFY(m_screens->shows(u"购买 标准版（500,000 Token），价格 ¥39.90\n将生成微信支付二维码"_s));
    m_screens->press(Qt::Key_Escape);
    QTRY_VERIFY(!m_screens->alert(u"确认购买"_s));
    QCOMPARE(requestsFor(u"/recharge"_s), 0);

    buy(standard);
    QTRY_VERIFY(m_screens->shows(u"微信扫码支付"_s));
    QVERIFY(m_screens->shows(u"¥ 39.90"_s));
    QVERIFY(m_screens->shows(u"请使用微信扫描二维码完成支付"_s));
    QTRY_VERIFY(m_screens->shows(u"等待支付结果..."_s));
    const QString url = m_screens->tokenViewModel.paymentQRUrl();
    QVERIFY(url.endsWith(m_screens->tokenViewModel.paymentOrderNo()));
    QTRY_COMPARE(scannedCode(m_screens->window->grabWindow()), url);

    pay(QUrl(url));
    QTRY_VERIFY(m_screens->shows(u"标准版 已到账"_s));
    QTRY_VERIFY(!m_screens->shows(u"微信扫码支付"_s));
    QTRY_VERIFY(m_screens->tokenViewModel.balance()->totalBalance() >= balance + 500'000);
    QVERIFY(m_screens->shows(m_screens->tokenViewModel.balance()->totalBalanceText()));
    QTRY_VERIFY(m_screens->tokenViewModel.transactions()->rowCount() > rows);
    m_screens->click(m_screens->button(u"关闭提示"_s));
    QTRY_VERIFY(!m_screens->shows(u"标准版 已到账"_s));
}

void tst_TokenScreens::aCodeTooLongToDrawIsToldOf()
{
    const QByteArray order = R"({"orderNo":"1","amountYuan":39.9,"qrUrl":"weixin://)" + QByteArray(3000, 'x') + "\"}";
    m_server->faults().set("POST", u"/api/v1/token/recharge"_s, {.status = 200, .body = envelope(order)});
    openTokens();
    buy(standard);
    QTRY_VERIFY(m_screens->shows(u"微信扫码支付"_s));
    QTRY_VERIFY(m_screens->shows(u"二维码内容过长，无法显示，请取消后重新下单"_s));
    QCOMPARE(Screens::warnings.size(), 1);
    QVERIFY(Screens::warnings.takeFirst().contains(u"Failed to get image from provider"_s));
}

void tst_TokenScreens::aPaymentSheetThatIsClosedStopsAsking_data()
{
    const auto row = columns<bool>("byKey");
    row("by its button", false);
    row("by Esc", true);
}

void tst_TokenScreens::aPaymentSheetThatIsClosedStopsAsking()
{
    QFETCH(bool, byKey);
    openTokens();
    buy(basic);
    QTRY_VERIFY(m_screens->button(closeButton));
    QTRY_VERIFY(requestsFor(u"/status"_s) > 0);
    if (byKey)
        m_screens->press(Qt::Key_Escape);
    else
        m_screens->click(m_screens->button(closeButton));
    QTRY_VERIFY(!m_screens->tokenViewModel.isPolling());
    QTRY_VERIFY(!m_screens->button(closeButton));
    QVERIFY(!m_screens->tokenViewModel.showPaymentSheet());
    QVERIFY(!m_screens->button(u"关闭提示"_s));
}

void tst_TokenScreens::messagesOfAPurchase_data()
{
    // status: of creating an order; 0 for an order that nobody pays
    const auto row = columns<int, QString>("status", "message");
    row("no order", 500, u"创建订单失败: HTTP 500: oops"_s);
    row("never paid", 0, u"支付超时，请重新购买"_s);
}

void tst_TokenScreens::messagesOfAPurchase()
{
    QFETCH(int, status);
    QFETCH(QString, message);
    if (status)
        fail(rechargePath, status, "POST");
    openTokens();
    buy(pro);
    QTRY_VERIFY_WITH_TIMEOUT(!m_screens->tokenViewModel.errorMessage().isEmpty(), 60000);
    QTRY_VERIFY(m_screens->alert(message));
    QVERIFY(m_screens->shows(message));
    QTRY_VERIFY(!m_screens->shows(u"微信扫码支付"_s));
    QTRY_VERIFY(m_screens->button(u"确认购买 专业版 - ¥129.90"_s)->isEnabled());
}

void tst_TokenScreens::aChosenPackageIsTheOneOnOffer()
{
    const auto offer = [this](const QString &id, double price) {
        const QByteArray package = R"({"id":")" + id.toUtf8() + R"(","name":"标准版","tokenCount":500000,"price":)"
            + QByteArray::number(price) + R"(,"currency":"CNY","isPopular":false,"packageDescription":""})";
        m_server->faults().set("GET", packagesPath, {.status = 200, .body = envelope('[' + package + ']')});
        m_screens->tokenViewModel.loadData();
    };
    openTokens();
    choosePackage(standard);
    m_screens->click(m_screens->button(u"确认购买 标准版 - ¥39.90"_s));
    QTRY_VERIFY(m_screens->alert(u"确认购买"_s));

    offer(standard.id, 59.9);
    QTRY_VERIFY(m_screens->button(u"确认购买 标准版 - ¥59.90"_s));
    QTRY_VERIFY(!m_screens->alert(u"确认购买"_s)); // which asked about the former price
    offer(u"another"_s, 59.9);
    QTRY_VERIFY(m_screens->shows(u"点选一个套餐后即可购买"_s));
    QVERIFY(!m_screens->button(u"确认购买 标准版 - ¥59.90"_s));
    QCOMPARE(requestsFor(u"/recharge"_s), 0);
}

void tst_TokenScreens::withoutAServerThereAreStillPackages()
{
    for (const QString &path : {balancePath, packagesPath, u"/api/v1/token/transactions"_s})
        fail(path, 500);
    openTokens();
    QCOMPARE(m_screens->texts().count(u"—"_s), 3);
    QCOMPARE(m_screens->texts().count(u"热门"_s), 1);
    for (const QString &text :
         {u"基础版"_s, u"标准版"_s, u"专业版"_s, u"企业版"_s, u"500,000 Token"_s, u"¥0.08/千Token"_s, u"节省 20%"_s})
        QVERIFY2(m_screens->shows(text), qUtf8Printable(text));
    QVERIFY(!m_screens->button(u"关闭提示"_s));
    openTab(u"消费记录"_s);
    QVERIFY(m_screens->shows(u"暂无记录"_s));
    QVERIFY(m_screens->shows(u"还没有任何交易记录"_s));
    QVERIFY(!m_screens->shows(u"时间"_s));
}

void tst_TokenScreens::theHistoryIsATable()
{
    openTokens();
    openTab(u"消费记录"_s);
    for (const QString &text : {u"交易记录"_s, u"时间"_s, u"类型"_s, u"数量"_s, u"余额"_s, u"说明"_s})
        QVERIFY2(m_screens->shows(text), qUtf8Printable(text));
    const auto &model = *m_screens->tokenViewModel.transactions();
    QStringList cells;
    for (const int role :
         {TokenTransactionListModel::Time, TokenTransactionListModel::TypeText, TokenTransactionListModel::Amount,
          TokenTransactionListModel::Balance, TokenTransactionListModel::Description})
        cells.append(model.data(model.index(0), role).toString());
    const auto firstRow = [this] { return m_screens->elements(QAccessible::ListItem).first(); };
    QCOMPARE(accessibleName(firstRow()), cells.join(u'，'));
    for (const QString &cell : cells)
        QVERIFY2(m_screens->shows(cell), qUtf8Printable(cell));
}

void tst_TokenScreens::theAPIPageCopiesWhatItShows()
{
    openTokens();
    openTab(u"API 接入"_s);
    const QString endpoint = m_screens->tokenProxyViewModel.apiEndpoint();
    QVERIFY(m_screens->shows(endpoint));
    QVERIFY(m_screens->shows(u"请先登录"_s));
    for (const QString &text : {u"云端 API 接入"_s, u"支持的模型 (部分)"_s, u"GPT-4o"_s, u"Grok 4"_s})
        QVERIFY2(m_screens->shows(text), qUtf8Printable(text));
    m_screens->click(m_screens->button(u"复制 API Key"_s));
    QCOMPARE(QGuiApplication::clipboard()->text(), u"请先登录"_s);
    m_screens->click(m_screens->button(u"复制 API Base URL"_s));
    QCOMPARE(QGuiApplication::clipboard()->text(), endpoint);
    QVERIFY(m_screens->button(u"已复制"_s));
    QTRY_VERIFY(m_screens->button(u"复制 API Base URL"_s));
}

void tst_TokenScreens::signingOutEndsAPurchase()
{
    openTokens();
    buy(basic);
    QTRY_VERIFY(m_screens->button(closeButton));
    QPointer<QQuickItem> page = m_screens->button(closeButton);
    QPointer<QQuickItem> section = m_screens->button(u"刷新"_s);
    m_screens->auth.logout();
    QTRY_VERIFY(m_screens->button(u"登录 / 注册"_s));
    QTRY_VERIFY(!page && !section);
    QVERIFY(!m_screens->tokenViewModel.isPolling());
    QVERIFY(!m_screens->tokenViewModel.showPaymentSheet());
}

void tst_TokenScreens::theDashboardCounts()
{
    QTRY_VERIFY(m_screens->shows(m_screens->dashboardViewModel.tokenBalanceText())
                && m_screens->dashboardViewModel.tokenBalanceText() != u"0"_s);
    QVERIFY(hasText(u"打开「AI 软件」"_s));
    m_screens->openSoftware({testEntry(u"a"_s), testEntry(u"b"_s), testEntry(u"c"_s)});
    m_screens->setStatus(u"a"_s, SoftwareStatus::Running);
    m_screens->setStatus(u"b"_s, SoftwareStatus::Error);
    m_screens->click(m_screens->button(u"仪表盘"_s));
    const auto figure = [this](const QString &name) { return m_screens->element(QAccessible::StaticText, name); };
    QTRY_VERIFY(figure(u"已安装软件，2"_s));
    QVERIFY(figure(u"运行中，1"_s));
    QVERIFY(figure(u"Token 余额，"_s + m_screens->dashboardViewModel.tokenBalanceText()));
    QVERIFY(figure(u"今日消耗，"_s + m_screens->dashboardViewModel.usedTodayText()));
    QTRY_VERIFY(!hasText(u"打开「AI 软件」"_s));
    QTRY_VERIFY(m_screens->element(QAccessible::ListItem, u"A，运行中"_s));
    QVERIFY(m_screens->element(QAccessible::ListItem, u"C，未安装"_s));
    // A balance that cannot be asked for again stays.
    const QString balance = m_screens->dashboardViewModel.tokenBalanceText();
    fail(balancePath, 500);
    fail(usagePath, 500);
    m_screens->click(m_screens->button(u"AI 软件"_s));
    m_screens->click(m_screens->button(u"仪表盘"_s));
    QTRY_VERIFY(m_screens->shows(u"暂无用量数据"_s));
    QVERIFY(m_screens->shows(balance));
}

void tst_TokenScreens::theDashboardsChart_data()
{
    const auto row = columns<QByteArray, QStringList, QList<double>>("usage", "days", "heights");
    row("none", "[]", {}, {});
    row("one day", R"([{"date":"2026-11-20","tokens":1234567}])", QStringList{u"11/20，1234567 Token"_s},
        QList<double>{140});
    row("nothing used", R"([{"date":"2026-11-19","tokens":0},{"date":"2026-11-20","tokens":0}])",
        QStringList{u"11/19，0 Token"_s, u"11/20，0 Token"_s}, QList<double>{4, 4});
    row("one huge day, and one that is no date", R"([{"date":"2026-11-18","tokens":5},{"date":"2026-13-40","tokens":7},
                          {"date":"2026-11-19","tokens":99000000000},{"date":"2026-11-20","tokens":49500000000}])",
        QStringList{u"11/18，5 Token"_s, u"11/19，99000000000 Token"_s, u"11/20，49500000000 Token"_s},
        QList<double>{4, 140, 70});
}

void tst_TokenScreens::theDashboardsChart()
{
    QFETCH(QByteArray, usage);
    QFETCH(QStringList, days);
    QFETCH(QList<double>, heights);
    m_server->faults().set("GET", usagePath, {.status = 200, .body = envelope(usage)});
    m_screens->window->resize(900, 600);
    m_screens->click(m_screens->button(u"Token 管理"_s));
    m_screens->click(m_screens->button(u"仪表盘"_s));
    QTRY_COMPARE(m_screens->dashboardViewModel.weeklyUsage()->rowCount(), days.size());
    QTRY_VERIFY(!m_screens->dashboardViewModel.isLoading());
    m_screens->settle();
    QCOMPARE(m_screens->shows(u"暂无用量数据"_s), days.isEmpty());
    for (qsizetype i = 0; i < days.size(); ++i) {
        QQuickItem *const day = m_screens->element(QAccessible::StaticText, days[i]);
        QVERIFY2(day, qUtf8Printable(days[i]));
        QCOMPARE(day->property("barHeight").toDouble(), heights[i]);
        for (QQuickItem *const child : day->childItems()) // nothing sticks out or is cut off
            QVERIFY(child->y() >= 0 && child->height() <= day->height() && !child->property("truncated").toBool());
    }
}

void tst_TokenScreens::openPasswordSheet()
{
    m_screens->settle();
    m_screens->click(m_screens->elements(QAccessible::ButtonMenu).first());
    QTRY_VERIFY(m_screens->element(QAccessible::MenuItem, u"修改密码"_s));
    m_screens->settle();
    m_screens->click(m_screens->element(QAccessible::MenuItem, u"修改密码"_s));
    QTRY_VERIFY(m_screens->element(QAccessible::EditableText, u"当前密码"_s));
    QTRY_VERIFY(m_screens->element(QAccessible::EditableText, u"当前密码"_s)->hasActiveFocus());
    m_screens->settle();
}

void tst_TokenScreens::typeInto(const QString &label, const QString &text)
{
    m_screens->click(m_screens->element(QAccessible::EditableText, label));
    m_screens->press(Qt::Key_A, Qt::ControlModifier);
    m_screens->type(text);
}

void tst_TokenScreens::aPasswordIsChanged()
{
    openPasswordSheet();
    typePasswords(u"zhangwei-2024"_s, u"短"_s);
    QVERIFY(!m_screens->shows(u"短"_s));
    m_screens->click(m_screens->button(u"确认修改"_s));
    QTRY_VERIFY(m_screens->shows(u"新密码长度不能少于6位"_s));
    typeInto(u"新密码"_s, u"一二三四五六"_s);
    typeInto(u"确认新密码"_s, u"一二三四五六"_s);
    m_screens->press(Qt::Key_Return);
    QTRY_VERIFY(m_screens->alert(u"密码修改成功"_s));
    QVERIFY(m_screens->shows(u"下次登录时请使用新密码。"_s));
    QCOMPARE(m_server->state().accounts.all().first().password, u"一二三四五六"_s);
    m_screens->settle();
    m_screens->click(m_screens->button(u"好的"_s));
    QTRY_VERIFY(!m_screens->element(QAccessible::EditableText, u"当前密码"_s));
    QVERIFY(m_screens->auth.isLoggedIn());
}

void tst_TokenScreens::theButtonNeedsAllThreePasswords()
{
    openPasswordSheet();
    const QStringList labels{u"当前密码"_s, u"新密码"_s, u"确认新密码"_s};
    for (const QString &label : labels) {
        QVERIFY(!m_screens->button(u"确认修改"_s)->isEnabled());
        m_screens->press(Qt::Key_Return);
        typeInto(label, u"secret-1"_s);
    }
    QVERIFY(m_screens->button(u"确认修改"_s)->isEnabled());
    QCOMPARE(requestsFor(passwordPath), 0);
    m_screens->press(Qt::Key_Escape);
    QTRY_VERIFY(!m_screens->button(u"确认修改"_s));
    openPasswordSheet();
    for (const QString &label : labels) // nothing of what was typed is left
        QCOMPARE(m_screens->element(QAccessible::EditableText, label)->property("text").toString(), QString());
}

void tst_TokenScreens::aRefusedPasswordKeepsWhatWasTyped()
{
    openPasswordSheet();
    typePasswords(u"wrong"_s, u"brand-new"_s);
    m_server->faults().set("POST", passwordPath,
                           {.status = 200, .body = R"({"code":1001,"message":"当前密码不正确"})"});
    m_screens->click(m_screens->button(u"确认修改"_s));
    QTRY_VERIFY(m_screens->shows(u"当前密码不正确"_s));
    QCOMPARE(m_screens->element(QAccessible::EditableText, u"当前密码"_s)->property("text").toString(), u"wrong"_s);
    fail(passwordPath, 401, "POST");
    m_screens->click(m_screens->button(u"确认修改"_s));
    QTRY_VERIFY(m_screens->shows(u"认证过期，请重新登录"_s));
    QVERIFY(m_screens->auth.isLoggedIn());
    m_screens->settle();
    m_screens->click(m_screens->button(u"取消"_s));
    QTRY_VERIFY(!m_screens->button(u"取消"_s));
}

QTEST_MAIN(tst_TokenScreens)
#include "tst_TokenScreens.moc"
