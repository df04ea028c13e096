#include "Client.h"
#include "Seed.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QUrlQuery>

using namespace devserver;

namespace {

using Headers = Client::Headers;

constexpr auto FormType = "application/x-www-form-urlencoded; charset=UTF-8";
const QString HostileState = QStringLiteral("\"><script>'&=+ 状态%");

/// Every text of the first account needs encoding on its way.
const Account First{QStringLiteral("u&1"),     QStringLiteral("张 \"伟\"<b>&+"), QStringLiteral("13800000001"),
                    QStringLiteral("a+b=密&"), QStringLiteral("admin"),          QStringLiteral("sk-1/+")};
const Account Second{QStringLiteral("u2"),   QStringLiteral("李娜"), QStringLiteral("13800000002"),
                     QStringLiteral("lina"), QStringLiteral("user"), QStringLiteral("sk-2")};

QByteArray percentEncoded(const QString &text)
{
    return QUrl::toPercentEncoding(text);
}

QByteArray formBody(const QList<QPair<QString, QString>> &fields)
{
    QByteArrayList items;
    for (const auto &[name, value] : fields)
        items.append(percentEncoded(name) + '=' + percentEncoded(value));
    return items.join('&');
}

QByteArray passwordForm(const QString &phone, const QString &password)
{
    return formBody({{QStringLiteral("way"), QStringLiteral("password")},
                     {QStringLiteral("phone"), phone},
                     {QStringLiteral("password"), password}});
}

QByteArray codeForm(const QString &phone, const QString &code)
{
    return formBody({{QStringLiteral("way"), QStringLiteral("code")},
                     {QStringLiteral("phone"), phone},
                     {QStringLiteral("code"), code}});
}

QByteArray weChatForm(const QString &userId)
{
    return formBody({{QStringLiteral("way"), QStringLiteral("wechat")}, {QStringLiteral("account"), userId}});
}

QString errorText(const Reply &reply)
{
    static const QRegularExpression error(QStringLiteral("<p class=\"error\"[^>]*>([^<]*)</p>"));
    return error.match(reply.text()).captured(1);
}

/// The value of the first attribute of this name, as a browser reads it.
QString attribute(const Reply &reply, const QString &pattern)
{
    QString value = QRegularExpression(pattern + QStringLiteral("=\"([^\"]*)\"")).match(reply.text()).captured(1);
    return value.replace(QLatin1String("&quot;"), QLatin1String("\""))
        .replace(QLatin1String("&lt;"), QLatin1String("<"))
        .replace(QLatin1String("&gt;"), QLatin1String(">"))
        .replace(QLatin1String("&amp;"), QLatin1String("&"));
}

QString queryItem(const QByteArray &address, const char *name)
{
    return QUrlQuery(QUrl::fromEncoded(address)).queryItemValue(QLatin1String(name), QUrl::FullyDecoded);
}

} // namespace

class tst_DevServerLogin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_client = std::make_unique<Client>(ServerState{.accounts = Accounts({First, Second})}); }
    void everyWayEndsInATokenOfItsAccount_data();
    void everyWayEndsInATokenOfItsAccount();
    void wrongCredentialsShowThePageAgain_data();
    void wrongCredentialsShowThePageAgain();
    void phoneCodeSignsInOnce();
    void phoneCodeIsOnlySentToAccounts();
    void loginCodeIsExchangedOnce();
    void brokenLoginIsRefused_data();
    void brokenLoginIsRefused();
    void onlyFormsAreAccepted();
    void hostileTextIsShownAsText();
    void phoneOfTheLastLoginIsFilledIn();
    void everyEndingLeadsToTheApplication_data();
    void everyEndingLeadsToTheApplication();
    void tokenIsRefusedOnceItEnded_data();
    void tokenIsRefusedOnceItEnded();
    void headerWithoutAGoodTokenIsRefused_data();
    void headerWithoutAGoodTokenIsRefused();
    void badControlRequestChangesNothing_data();
    void badControlRequestChangesNothing();
    void embeddedAccountsCanBeToldApart();

private:
    Reply send(const QByteArray &method, const QByteArray &path, const QByteArray &body = {},
               const Headers &headers = {{"Content-Type", FormType}})
    {
        return m_client->send(method, path, body, headers);
    }
    QByteArray origin() const { return m_client->origin(); }
    Reply verify(const QString &token);
    Reply logIn(const QByteArray &form);
    Reply control(const QByteArray &path, const QByteArray &body) { return m_client->control(path, body); }
    QByteArray query(const QString &state = QStringLiteral("S")) const;
    QString phoneCode(const QString &phone);
    QString token(const Account &account) { return m_client->state().accounts.issueToken(account); }

    std::unique_ptr<Client> m_client;
};

Reply tst_DevServerLogin::verify(const QString &token)
{
    return send("GET", "/auth/verify", {}, {{"Authorization", "Bearer " + token.toUtf8()}});
}

Reply tst_DevServerLogin::logIn(const QByteArray &form)
{
    return send("POST", "/authorize/login?" + query(), form);
}

/// As the application writes it: the redirect address keeps its colons and slashes.
QByteArray tst_DevServerLogin::query(const QString &state) const
{
    return "client_id=vaelix&redirect_uri=" + origin() + "/auth/callback&state=" + percentEncoded(state);
}

QString tst_DevServerLogin::phoneCode(const QString &phone)
{
    const Reply reply = send("POST", "/authorize/code", formBody({{QStringLiteral("phone"), phone}}));
    return QString::fromStdString(reply.json()["data"]["code"].get<std::string>());
}

void tst_DevServerLogin::everyWayEndsInATokenOfItsAccount_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("phone code") << QStringLiteral("code");
    QTest::newRow("password") << QStringLiteral("password");
    QTest::newRow("WeChat") << QStringLiteral("wechat");
}

void tst_DevServerLogin::everyWayEndsInATokenOfItsAccount()
{
    QFETCH(QString, way);
    m_client->state().loginEnding = LoginEnding::Redirect;
    for (const Account &account : {First, Second}) {
        const QByteArray form = way == u"code" ? codeForm(account.phone, phoneCode(account.phone))
            : way == u"password"               ? passwordForm(account.phone, account.password)
                                               : weChatForm(account.userId);
        const Reply login = send("POST", "/authorize/login?" + query(HostileState), form);
        QCOMPARE(login.status, 302);
        QVERIFY(login.header("Location").startsWith(origin() + "/auth/callback?code="));
        QVERIFY(login.header("Location").endsWith("&state=" + percentEncoded(HostileState)));
        QVERIFY(login.header("Set-Cookie").startsWith("vaelix_login_phone=" + account.phone.toUtf8() + ';'));
        QVERIFY(login.header("Set-Cookie").contains("Max-Age=2592000"));

        const Reply callback = send("GET", login.header("Location"));
        QCOMPARE(callback.status, 302);
        QVERIFY(callback.header("Location").startsWith("x-vaelix://callback?token="));
        QCOMPARE(queryItem(callback.header("Location"), "user_id"), account.userId);
        QCOMPARE(queryItem(callback.header("Location"), "api_key"), account.apiKey);
        QCOMPARE(queryItem(callback.header("Location"), "display_name"), account.displayName);
        const JSON verified = verify(queryItem(callback.header("Location"), "token")).json();
        const JSON data{{"userId", account.userId.toStdString()}, {"role", account.role.toStdString()}};
        QVERIFY(verified == JSON({{"code", 0}, {"message", "ok"}, {"data", data}}));
    }
}

void tst_DevServerLogin::wrongCredentialsShowThePageAgain_data()
{
    QTest::addColumn<QByteArray>("form");
    QTest::addColumn<QString>("way");
    QTest::addColumn<QString>("phone");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const QByteArray &form, const char16_t *way, const QString &phone,
                        const char16_t *error) {
        QTest::newRow(name) << form << QString::fromUtf16(way) << phone << QString::fromUtf16(error);
    };
    const QString hostile = QStringLiteral("\"><script>'");
    row("wrong password", passwordForm(First.phone, Second.password), u"password", First.phone, u"手机号或密码不正确");
    row("no password", formBody({{QStringLiteral("way"), QStringLiteral("password")}}), u"password", {},
        u"手机号或密码不正确");
    row("unknown phone", passwordForm(hostile, First.password), u"password", hostile, u"手机号或密码不正确");
    row("wrong code", codeForm(First.phone, QStringLiteral("no code")), u"code", First.phone, u"手机号或验证码不正确");
    row("no code, none sent", codeForm(Second.phone, {}), u"code", Second.phone, u"手机号或验证码不正确");
    row("unknown WeChat account", weChatForm(QStringLiteral("u3")), u"wechat", {}, u"这个微信号没有绑定账户");
    row("no WeChat account", weChatForm({}), u"wechat", {}, u"这个微信号没有绑定账户");
}

void tst_DevServerLogin::wrongCredentialsShowThePageAgain()
{
    QFETCH(QByteArray, form);
    phoneCode(First.phone);
    const Reply reply = logIn(form);
    QCOMPARE(reply.status, 200);
    QTEST(errorText(reply), "error");
    QTEST(attribute(reply, QStringLiteral("data-way")), "way");
    QTEST(attribute(reply, QStringLiteral("name=\"phone\" value")), "phone");
    QCOMPARE(reply.header("Location"), QByteArray());
    QCOMPARE(reply.header("Set-Cookie"), QByteArray());
}

void tst_DevServerLogin::phoneCodeSignsInOnce()
{
    const QString code = phoneCode(First.phone);
    QVERIFY(QRegularExpression(QStringLiteral("^[0-9]{6}$")).match(code).hasMatch());
    QCOMPARE(logIn(codeForm(Second.phone, code)).status, 200);
    QCOMPARE(logIn(codeForm(First.phone, code)).status, 302);
    QCOMPARE(logIn(codeForm(First.phone, code)).status, 200);
}

void tst_DevServerLogin::phoneCodeIsOnlySentToAccounts()
{
    const Reply reply = send("POST", "/authorize/code", "phone=139");
    QCOMPARE(reply.status, 404);
    QVERIFY(reply.json() == JSON({{"code", 404}, {"message", "这个手机号没有注册"}}));
}

void tst_DevServerLogin::loginCodeIsExchangedOnce()
{
    const QByteArray callback = logIn(weChatForm(First.userId)).header("Location");
    QCOMPARE(send("GET", callback).status, 200);
    const Reply again = send("GET", callback);
    QCOMPARE(again.status, 400);
    QCOMPARE(errorText(again), QStringLiteral("登录已失效，请返回重新登录"));
    QVERIFY(!again.body.contains("x-vaelix"));
    QCOMPARE(send("GET", "/auth/callback").status, 400);
}

void tst_DevServerLogin::brokenLoginIsRefused_data()
{
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QString>("error");
    const QString unknown = QStringLiteral("未知的应用，无法登录");
    const QString foreign = QStringLiteral("回调地址不属于本服务，无法登录");
    QTest::newRow("nothing") << QByteArray() << unknown;
    QTest::newRow("other client") << QByteArray("client_id=other&redirect_uri=ORIGIN/auth/callback") << unknown;
    QTest::newRow("no redirect") << QByteArray("client_id=vaelix&state=1") << foreign;
    QTest::newRow("other host") << QByteArray("client_id=vaelix&redirect_uri=http://127.0.0.1/auth/callback")
                                << foreign;
    QTest::newRow("other path") << QByteArray("client_id=vaelix&redirect_uri=ORIGIN/auth/callback/x") << foreign;
    QTest::newRow("own host as user") << QByteArray("client_id=vaelix&redirect_uri=ORIGIN@evil.example/auth/callback")
                                      << foreign;
    QTest::newRow("application's scheme") << QByteArray("client_id=vaelix&redirect_uri=x-vaelix://callback") << foreign;
    QTest::newRow("right one second") << QByteArray(
        "client_id=vaelix&redirect_uri=http://evil.example/&redirect_uri=ORIGIN/auth/callback")
                                      << foreign;
}

void tst_DevServerLogin::brokenLoginIsRefused()
{
    QFETCH(QByteArray, query);
    query.replace("ORIGIN", origin());
    for (const Reply &reply :
         {send("GET", "/authorize?" + query), send("POST", "/authorize/login?" + query, weChatForm(First.userId))}) {
        QCOMPARE(reply.status, 400);
        QTEST(errorText(reply), "error");
        QCOMPARE(reply.header("Location"), QByteArray());
    }
}

void tst_DevServerLogin::onlyFormsAreAccepted()
{
    const Headers json{{"Content-Type", "application/json"}};
    const QByteArray login = "/authorize/login?" + query();
    QCOMPARE(send("POST", login, weChatForm(First.userId), json).status, 415);
    QCOMPARE(send("POST", "/authorize/code", "phone=13800000001", json).status, 415);
    QCOMPARE(send("POST", login, "way=fingerprint").status, 400);
    QCOMPARE(send("POST", login, "=&&way").status, 400);
}

void tst_DevServerLogin::hostileTextIsShownAsText()
{
    const Reply reply = send("GET", "/authorize?" + query(HostileState), {},
                             {{"Cookie", "a=b; vaelix_login_phone=\"><script>{{error}}"}});
    QCOMPARE(reply.status, 200);
    QVERIFY(reply.body.contains("&amp;state=" + percentEncoded(HostileState) + '"'));
    QCOMPARE(attribute(reply, QStringLiteral("name=\"phone\" value")), QStringLiteral("\"><script>{{error}}"));
    QCOMPARE(reply.body.count("<script>"), 1); // the page's own
    QVERIFY(reply.body.contains("模拟扫码：张 &quot;伟&quot;&lt;b&gt;&amp;+<"));
}

void tst_DevServerLogin::phoneOfTheLastLoginIsFilledIn()
{
    const QByteArray cookie = logIn(weChatForm(Second.userId)).header("Set-Cookie").split(';').first();
    const Reply page = send("GET", "/authorize?" + query(), {}, {{"Cookie", "x=1; " + cookie}});
    QCOMPARE(attribute(page, QStringLiteral("name=\"phone\" value")), Second.phone);
    QCOMPARE(attribute(send("GET", "/authorize?" + query()), QStringLiteral("name=\"phone\" value")), QString());
}

void tst_DevServerLogin::everyEndingLeadsToTheApplication_data()
{
    QTest::addColumn<QString>("ending");
    QTest::addColumn<QString>("address"); // what stands before the address on the page
    QTest::newRow("script") << QStringLiteral("script") << QStringLiteral("<a href");
    QTest::newRow("link") << QStringLiteral("link") << QStringLiteral("<a href");
    QTest::newRow("form") << QStringLiteral("form") << QStringLiteral("<form method=\"post\" action");
    QTest::newRow("meta") << QStringLiteral("meta") << QStringLiteral("<meta http-equiv=\"refresh\" content");
}

void tst_DevServerLogin::everyEndingLeadsToTheApplication()
{
    QFETCH(QString, ending);
    QFETCH(QString, address);
    QCOMPARE(control("login", R"({"ending":")" + ending.toUtf8() + R"("})").status, 200);
    const Reply page = send("GET", logIn(weChatForm(First.userId)).header("Location"));
    QCOMPARE(page.status, 200);
    QVERIFY(page.text().contains(QStringLiteral("登录成功")));
    QCOMPARE(attribute(page, QStringLiteral("<main class=\"card done\" data-ending")), ending);
    QCOMPARE(page.body.contains("http-equiv=\"refresh\""), ending == u"meta");
    QByteArray target = attribute(page, address).toUtf8();
    if (ending == u"meta") {
        QVERIFY(target.startsWith("0;url="));
        target.remove(0, 6);
    }
    QVERIFY2(target.startsWith("x-vaelix://callback?"), target.constData());
    QCOMPARE(queryItem(target, "display_name"), First.displayName);
    QCOMPARE(verify(queryItem(target, "token")).status, 200);
}

void tst_DevServerLogin::tokenIsRefusedOnceItEnded_data()
{
    QTest::addColumn<QByteArray>("order"); // logs out when empty
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<int>("statusOfOther");
    const QByteArray invalid = "未登录或登录已失效";
    QTest::newRow("logged out") << QByteArray() << invalid << 200;
    QTest::newRow("one expired") << QByteArray(R"({"action":"expire","userId":"u&1"})") << QByteArray("登录已过期")
                                 << 200;
    QTest::newRow("all expired") << QByteArray(R"({"action":"expire"})") << QByteArray("登录已过期") << 401;
    QTest::newRow("one revoked") << QByteArray(R"({"userId":"u&1","action":"revoke"})") << invalid << 200;
    QTest::newRow("all revoked") << QByteArray(R"({"action":"revoke"})") << invalid << 401;
}

void tst_DevServerLogin::tokenIsRefusedOnceItEnded()
{
    QFETCH(QByteArray, order);
    QFETCH(QByteArray, message);
    const QString ended = token(First);
    const QString other = token(Second);
    QCOMPARE(verify(ended).status, 200);
    const Headers authorization{{"Authorization", "Bearer " + ended.toUtf8()}};
    const Reply reply = order.isEmpty() ? send("POST", "/auth/logout", {}, authorization) : control("tokens", order);
    QCOMPARE(reply.body, R"({"code":0,"message":"ok","data":null})");

    const Reply refused = verify(ended);
    QCOMPARE(refused.status, 401);
    QCOMPARE(refused.body, R"({"code":1,"message":")" + message + R"("})");
    QCOMPARE(send("POST", "/auth/logout", {}, authorization).status, 401);
    QTEST(verify(other).status, "statusOfOther");
    QCOMPARE(verify(token(First)).status, 200);
}

void tst_DevServerLogin::headerWithoutAGoodTokenIsRefused_data()
{
    QTest::addColumn<QByteArray>("header"); // TOKEN stands for a good one
    QTest::newRow("none") << QByteArray();
    QTest::newRow("no token") << QByteArray("Bearer ");
    QTest::newRow("other scheme") << QByteArray("Basic TOKEN");
    QTest::newRow("token alone") << QByteArray("TOKEN");
    QTest::newRow("unknown token") << QByteArray("Bearer TOKENx");
    QTest::newRow("user id") << QByteArray("Bearer u2");
}

void tst_DevServerLogin::headerWithoutAGoodTokenIsRefused()
{
    QFETCH(QByteArray, header);
    const QString good = token(Second);
    header.replace("TOKEN", good.toUtf8());
    for (const auto &[method, path] : {std::pair("GET", "/auth/verify"), std::pair("POST", "/auth/logout")}) {
        const Reply reply = send(method, path, {}, header.isEmpty() ? Headers() : Headers{{"Authorization", header}});
        QCOMPARE(reply.status, 401);
        QVERIFY(reply.json()["code"] == 1);
    }
    QCOMPARE(verify(good).status, 200);
}

void tst_DevServerLogin::badControlRequestChangesNothing_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::newRow("ending unknown") << QByteArray("login") << QByteArray(R"({"ending":"popup"})") << 400;
    QTest::newRow("ending no text") << QByteArray("login") << QByteArray(R"({"ending":1})") << 400;
    QTest::newRow("ending and more") << QByteArray("login") << QByteArray(R"({"ending":"meta","x":1})") << 400;
    QTest::newRow("no JSON") << QByteArray("login") << QByteArray("ending") << 400;
    QTest::newRow("action unknown") << QByteArray("tokens") << QByteArray(R"({"action":"delete"})") << 400;
    QTest::newRow("no action") << QByteArray("tokens") << QByteArray(R"({"userId":"u2"})") << 400;
    QTest::newRow("user no text") << QByteArray("tokens") << QByteArray(R"({"action":"expire","userId":2})") << 400;
    QTest::newRow("misspelt user") << QByteArray("tokens") << QByteArray(R"({"action":"expire","user":"u2"})") << 400;
    QTest::newRow("user unknown") << QByteArray("tokens") << QByteArray(R"({"action":"expire","userId":"u"})") << 404;
    QTest::newRow("user empty") << QByteArray("tokens") << QByteArray(R"({"action":"expire","userId":""})") << 404;
    QTest::newRow("array") << QByteArray("tokens") << QByteArray(R"(["expire"])") << 400;
}

void tst_DevServerLogin::badControlRequestChangesNothing()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, body);
    const QString good = token(Second);
    const Reply reply = control(path, body);
    QTEST(reply.status, "status");
    QVERIFY(reply.json()["code"] == reply.status);
    QCOMPARE(m_client->state().loginEnding, LoginEnding::Script);
    QCOMPARE(verify(good).status, 200);
}

void tst_DevServerLogin::embeddedAccountsCanBeToldApart()
{
    const auto accounts = embeddedAccounts();
    QVERIFY2(accounts, qPrintable(accounts ? QString() : accounts.error()));
    QSet<QString> texts;
    for (const Account &account : accounts->all()) {
        texts += {account.userId, account.displayName, account.phone, account.password, account.apiKey};
        QVERIFY(account.apiKey.startsWith(QLatin1String("sk-")));
        QCOMPARE(account.phone.size(), 11);
    }
    QVERIFY(accounts->all().size() >= 2);
    QCOMPARE(texts.size(), accounts->all().size() * 5);
}

QTEST_GUILESS_MAIN(tst_DevServerLogin)
#include "tst_DevServerLogin.moc"
