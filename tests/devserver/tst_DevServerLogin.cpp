#include "Client.h"
#include "Seed.h"
#include "Support/Table.h"

#include <QRegularExpression>
#include <QSet>
#include <QUrlQuery>

using namespace Qt::StringLiterals;
using namespace devserver;

namespace {

using Headers = Client::Headers;

constexpr auto FormType = "application/x-www-form-urlencoded; charset=UTF-8";
const QString HostileState = u"\"><script>'&=+ 状态%"_s;

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
    return formBody({{u"way"_s, u"password"_s}, {u"phone"_s, phone}, {u"password"_s, password}});
}

QByteArray codeForm(const QString &phone, const QString &code)
{
    return formBody({{u"way"_s, u"code"_s}, {u"phone"_s, phone}, {u"code"_s, code}});
}

QByteArray weChatForm(const QString &userId)
{
    return formBody({{u"way"_s, u"wechat"_s}, {u"account"_s, userId}});
}

QString errorText(const Reply &reply)
{
    static const QRegularExpression error(u"<p class=\"error\"[^>]*>([^<]*)</p>"_s);
    return error.match(reply.text()).captured(1);
}

/// The value of the first attribute of this name, as a browser reads it.
QString attribute(const Reply &reply, const QString &pattern)
{
    QString value = QRegularExpression(pattern + u"=\"([^\"]*)\""_s).match(reply.text()).captured(1);
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
    void everyWayEndsInATokenOfItsAccount();
    void wrongCredentialsShowThePageAgain_data();
    void wrongCredentialsShowThePageAgain();
    void phoneCodeSignsInOnce();
    void loginCodeIsExchangedOnce();
    void brokenLoginIsRefused_data();
    void brokenLoginIsRefused();
    void uselessFormsAreRefused();
    void hostileTextIsShownAsText();
    void phoneOfTheLastLoginIsFilledIn();
    void everyEndingLeadsToTheApplication_data();
    void everyEndingLeadsToTheApplication();
    void tokenIsRefusedOnceItEnded_data();
    void tokenIsRefusedOnceItEnded();
    void headerWithoutAGoodTokenIsRefused();
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
    QByteArray query(const QString &state = u"S"_s) const;
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
    const Reply reply = send("POST", "/authorize/code", formBody({{u"phone"_s, phone}}));
    return text(reply.json()["data"]["code"]);
}

void tst_DevServerLogin::everyWayEndsInATokenOfItsAccount()
{
    m_client->state().loginEnding = LoginEnding::Redirect;
    QList<std::pair<Account, QByteArray>> logins;
    for (const Account &account : {First, Second})
        logins += {{account, codeForm(account.phone, phoneCode(account.phone))},
                   {account, passwordForm(account.phone, account.password)},
                   {account, weChatForm(account.userId)}};
    for (const auto &[account, form] : std::as_const(logins)) {
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
        QCOMPARE(queryItem(callback.header("Location"), "state"), HostileState);
        const JSON verified = verify(queryItem(callback.header("Location"), "token")).json();
        const JSON data{{"userId", account.userId.toStdString()}, {"role", account.role.toStdString()}};
        QVERIFY(verified == JSON({{"code", 0}, {"message", "ok"}, {"data", data}}));
    }
}

void tst_DevServerLogin::wrongCredentialsShowThePageAgain_data()
{
    const auto row = columns<QByteArray, QString, QString, QString>("form", "way", "phone", "error");
    const QString hostile = u"\"_s><script>'"_s;
    row("wrong password", passwordForm(First.phone, Second.password), u"password"_s, First.phone,
        u"手机号或密码不正确"_s);
    row("no password", formBody({{u"way"_s, u"password"_s}}), u"password"_s, {}, u"手机号或密码不正确"_s);
    row("unknown phone", passwordForm(hostile, First.password), u"password"_s, hostile, u"手机号或密码不正确"_s);
    row("wrong code", codeForm(First.phone, u"no code"_s), u"code"_s, First.phone, u"手机号或验证码不正确"_s);
    row("no code, none sent", codeForm(Second.phone, {}), u"code"_s, Second.phone, u"手机号或验证码不正确"_s);
    row("unknown WeChat account", weChatForm(u"u3"_s), u"wechat"_s, {}, u"这个微信号没有绑定账户"_s);
    row("no WeChat account", weChatForm({}), u"wechat"_s, {}, u"这个微信号没有绑定账户"_s);
}

void tst_DevServerLogin::wrongCredentialsShowThePageAgain()
{
    QFETCH(QByteArray, form);
    phoneCode(First.phone);
    const Reply reply = logIn(form);
    QCOMPARE(reply.status, 200);
    QTEST(errorText(reply), "error");
    QTEST(attribute(reply, u"data-way"_s), "way");
    QTEST(attribute(reply, u"name=\"phone\" value"_s), "phone");
    QCOMPARE(reply.header("Location"), QByteArray());
    QCOMPARE(reply.header("Set-Cookie"), QByteArray());
}

void tst_DevServerLogin::phoneCodeSignsInOnce()
{
    const QString code = phoneCode(First.phone);
    QVERIFY(QRegularExpression(u"^[0-9]{6}$"_s).match(code).hasMatch());
    QCOMPARE(logIn(codeForm(Second.phone, code)).status, 200);
    QCOMPARE(logIn(codeForm(First.phone, code)).status, 302);
    QCOMPARE(logIn(codeForm(First.phone, code)).status, 200);
}

void tst_DevServerLogin::loginCodeIsExchangedOnce()
{
    const QByteArray callback = logIn(weChatForm(First.userId)).header("Location");
    QCOMPARE(send("GET", callback).status, 200);
    const Reply again = send("GET", callback);
    QCOMPARE(again.status, 400);
    QCOMPARE(errorText(again), u"登录已失效，请返回重新登录"_s);
    QVERIFY(!again.body.contains("x-vaelix"));
    QCOMPARE(send("GET", "/auth/callback").status, 400);
}

void tst_DevServerLogin::brokenLoginIsRefused_data()
{
    const auto row = columns<QByteArray, QString>("query", "error");
    const QString unknown = u"未知的应用，无法登录"_s;
    const QString foreign = u"回调地址不属于本服务，无法登录"_s;
    row("nothing", {}, unknown);
    row("other client", "client_id=other&redirect_uri=ORIGIN/auth/callback", unknown);
    row("no redirect", "client_id=vaelix&state=1", foreign);
    row("other host", "client_id=vaelix&redirect_uri=http://127.0.0.1/auth/callback", foreign);
    row("other path", "client_id=vaelix&redirect_uri=ORIGIN/auth/callback/x", foreign);
    row("own host as user", "client_id=vaelix&redirect_uri=ORIGIN@evil.example/auth/callback", foreign);
    row("application's scheme", "client_id=vaelix&redirect_uri=x-vaelix://callback", foreign);
    row("right one second", "client_id=vaelix&redirect_uri=http://evil.example/&redirect_uri=ORIGIN/auth/callback",
        foreign);
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

void tst_DevServerLogin::uselessFormsAreRefused()
{
    const Headers json{{"Content-Type", "application/json"}};
    const QByteArray login = "/authorize/login?" + query();
    QCOMPARE(send("POST", login, weChatForm(First.userId), json).status, 415);
    QCOMPARE(send("POST", "/authorize/code", "phone=13800000001", json).status, 415);
    QCOMPARE(send("POST", "/authorize/code", "phone=139").body, R"({"code":404,"message":"这个手机号没有注册"})");
    QCOMPARE(send("POST", login, "way=fingerprint").status, 400);
    QCOMPARE(send("POST", login, "=&&way").status, 400);
}

void tst_DevServerLogin::hostileTextIsShownAsText()
{
    const Reply reply = send("GET", "/authorize?" + query(HostileState), {},
                             {{"Cookie", "a=b; vaelix_login_phone=\"><script>{{error}}"}});
    QCOMPARE(reply.status, 200);
    QVERIFY(reply.body.contains("&amp;state=" + percentEncoded(HostileState) + '"'));
    QCOMPARE(attribute(reply, u"name=\"phone\" value"_s), u"\"><script>{{error}}"_s);
    QCOMPARE(reply.body.count("<script>"), 1); // the page's own
    QVERIFY(reply.body.contains("模拟扫码：张 &quot;伟&quot;&lt;b&gt;&amp;+<"));
}

void tst_DevServerLogin::phoneOfTheLastLoginIsFilledIn()
{
    const QByteArray cookie = logIn(weChatForm(Second.userId)).header("Set-Cookie").split(';').first();
    const Reply page = send("GET", "/authorize?" + query(), {}, {{"Cookie", "x=1; " + cookie}});
    QCOMPARE(attribute(page, u"name=\"phone\" value"_s), Second.phone);
    QCOMPARE(attribute(send("GET", "/authorize?" + query()), u"name=\"phone\" value"_s), QString());
}

void tst_DevServerLogin::everyEndingLeadsToTheApplication_data()
{
    // address: what stands before the address on the page
    const auto row = columns<QString, QString>("ending", "address");
    row("script", u"script"_s, u"<a href"_s);
    row("link", u"link"_s, u"<a href"_s);
    row("form", u"form"_s, u"<form method=\"post\" action"_s);
    row("meta", u"meta"_s, u"<meta http-equiv=\"refresh\" content"_s);
}

void tst_DevServerLogin::everyEndingLeadsToTheApplication()
{
    QFETCH(QString, ending);
    QFETCH(QString, address);
    QCOMPARE(control("login", R"({"ending":")" + ending.toUtf8() + R"("})").status, 200);
    const Reply page = send("GET", logIn(weChatForm(First.userId)).header("Location"));
    QCOMPARE(page.status, 200);
    QVERIFY(page.text().contains(u"登录成功"_s));
    QCOMPARE(attribute(page, u"<main class=\"card done\" data-ending"_s), ending);
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
    // order: logs out when empty
    const auto row = columns<QByteArray, QByteArray, int>("order", "message", "statusOfOther");
    const QByteArray invalid = "未登录或登录已失效";
    row("logged out", {}, invalid, 200);
    row("one expired", R"({"action":"expire","userId":"u&1"})", "登录已过期", 200);
    row("all expired", R"({"action":"expire"})", "登录已过期", 401);
    row("one revoked", R"({"userId":"u&1","action":"revoke"})", invalid, 200);
    row("all revoked", R"({"action":"revoke"})", invalid, 401);
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

void tst_DevServerLogin::headerWithoutAGoodTokenIsRefused()
{
    const QByteArray good = token(Second).toUtf8();
    for (const QByteArray &header :
         {QByteArray("Bearer "), "Digest " + good, good, "Bearer " + good + 'x', QByteArray("Bearer u2")})
        for (const auto &[method, path] : {std::pair("GET", "/auth/verify"), std::pair("POST", "/auth/logout")}) {
            const Reply reply = send(method, path, {}, {{"Authorization", header}});
            QVERIFY2(reply.status == 401 && reply.json()["code"] == 1, header.constData());
        }
    QCOMPARE(send("GET", "/auth/verify", {}, {}).status, 401);
    QCOMPARE(verify(QString::fromUtf8(good)).status, 200);
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
