#include "Login.h"

#include "Form.h"
#include "Page.h"

#include <QUrl>
#include <algorithm>
#include <array>
#include <expected>

namespace devserver {

namespace {

const QString title = QStringLiteral("登录 Vaelix");
const QString failureTitle = QStringLiteral("无法登录");
constexpr auto cookieName = "vaelix_login_phone";
constexpr auto cookieAttributes = "; Path=/authorize; Max-Age=2592000; HttpOnly; SameSite=Lax";

/// What the query of a login's addresses says.
struct Authorization {
    QString redirectURI;
    QString state;
};

/// What the login page shows besides the ways to sign in.
struct LoginForm {
    QString way = QStringLiteral("code");
    QString phone;
    QString error;
};

using Credentials = std::expected<Account, QString>;

struct Way {
    QStringView name;
    Credentials (*check)(Accounts &accounts, const Fields &form);
};

QString field(const Fields &fields, QLatin1String name)
{
    return fields.value(name).trimmed();
}

Credentials checkPhoneCode(Accounts &accounts, const Fields &form)
{
    const Account *account = accounts.withPhone(field(form, QLatin1String("phone")));
    if (!account || !accounts.takePhoneCode(*account, field(form, QLatin1String("code"))))
        return std::unexpected(QStringLiteral("手机号或验证码不正确"));
    return *account;
}

Credentials checkPassword(Accounts &accounts, const Fields &form)
{
    const Account *account = accounts.withPhone(field(form, QLatin1String("phone")));
    if (!account || account->password != form.value(QStringLiteral("password")))
        return std::unexpected(QStringLiteral("手机号或密码不正确"));
    return *account;
}

Credentials checkWeChat(Accounts &accounts, const Fields &form)
{
    const Account *account = accounts.withId(field(form, QLatin1String("account")));
    if (!account)
        return std::unexpected(QStringLiteral("这个微信号没有绑定账户"));
    return *account;
}

constexpr std::array ways{
    Way{u"code", checkPhoneCode},
    Way{u"password", checkPassword},
    Way{u"wechat", checkWeChat},
};

QString percentEncoded(const QString &text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

std::expected<Authorization, QString> readAuthorization(const Request &request)
{
    const Fields query = readFields(request.query.toUtf8());
    if (query.value(QStringLiteral("client_id")) != u"vaelix")
        return std::unexpected(QStringLiteral("未知的应用，无法登录"));
    const QString redirectURI = query.value(QStringLiteral("redirect_uri"));
    if (redirectURI != QStringLiteral("http://%1/auth/callback").arg(QString::fromUtf8(request.header("Host"))))
        return std::unexpected(QStringLiteral("回调地址不属于本服务，无法登录"));
    return Authorization{.redirectURI = redirectURI, .state = query.value(QStringLiteral("state"))};
}

QString rememberedPhone(const Request &request)
{
    const QByteArray prefix = cookieName + QByteArrayLiteral("=");
    for (const QByteArray &pair : request.header("Cookie").split(';')) {
        if (pair.trimmed().startsWith(prefix))
            return QString::fromUtf8(pair.trimmed().sliced(prefix.size()));
    }
    return {};
}

HTML accountButtons(const QList<Account> &accounts)
{
    HTML buttons;
    for (const Account &account : accounts) {
        buttons.markup += filled(QStringLiteral("WeChatAccount.html"),
                                 {{"userId", escaped(account.userId)}, {"name", escaped(account.displayName)}})
                              .markup;
    }
    return buttons;
}

Response loginPage(const ServerState &state, const Authorization &authorization, const LoginForm &form)
{
    const QString query = QStringLiteral("client_id=vaelix&redirect_uri=") + percentEncoded(authorization.redirectURI)
        + QStringLiteral("&state=") + percentEncoded(authorization.state);
    return page(200, title,
                filled(QStringLiteral("Login.html"),
                       {{"query", escaped(query)},
                        {"way", escaped(form.way)},
                        {"phone", escaped(form.phone)},
                        {"error", escaped(form.error)},
                        {"accounts", accountButtons(state.accounts.all())}}));
}

Response welcome(Accounts &accounts, const Account &account, const Authorization &authorization)
{
    Response response = redirect(302,
                                 authorization.redirectURI + QStringLiteral("?code=") + accounts.issueLoginCode(account)
                                     + QStringLiteral("&state=") + percentEncoded(authorization.state));
    response.headers.append({"Set-Cookie", cookieName + ("=" + account.phone.toUtf8()) + cookieAttributes});
    return response;
}

QString applicationAddress(const Account &account, const QString &token, const QString &state)
{
    return QStringLiteral("x-vaelix://callback?token=") + percentEncoded(token) + QStringLiteral("&user_id=")
        + percentEncoded(account.userId) + QStringLiteral("&api_key=") + percentEncoded(account.apiKey)
        + QStringLiteral("&display_name=") + percentEncoded(account.displayName) + QStringLiteral("&state=")
        + percentEncoded(state);
}

Response callbackPage(LoginEnding ending, const QString &address)
{
    const HTML target = escaped(address);
    const HTML content =
        filled(QStringLiteral("Callback.html"), {{"ending", {nameOf(loginEndings, ending)}}, {"target", target}});
    if (ending == LoginEnding::Meta)
        return page(200, title, content, {"<meta http-equiv=\"refresh\" content=\"0;url=" + target.markup + "\">"});
    return page(200, title, content);
}

} // namespace

Response answerAuthorize(ServerState &state, const Request &request)
{
    const auto authorization = readAuthorization(request);
    if (!authorization)
        return errorPage(400, failureTitle, authorization.error());
    return loginPage(state, *authorization, {.phone = rememberedPhone(request)});
}

Response answerPhoneCode(ServerState &state, const Request &request)
{
    if (!isForm(request))
        return failure(415, QStringLiteral("请求体不是表单"));
    const Account *account = state.accounts.withPhone(field(readFields(request.body), QLatin1String("phone")));
    if (!account)
        return failure(404, QStringLiteral("这个手机号没有注册"));
    return success({{"code", state.accounts.sendPhoneCode(*account).toStdString()}});
}

Response answerLogin(ServerState &state, const Request &request)
{
    const auto authorization = readAuthorization(request);
    if (!authorization)
        return errorPage(400, failureTitle, authorization.error());
    if (!isForm(request))
        return errorPage(415, failureTitle, QStringLiteral("请求体不是表单"));
    const Fields form = readFields(request.body);
    const auto way = std::ranges::find(ways, field(form, QLatin1String("way")), &Way::name);
    if (way == ways.end())
        return errorPage(400, failureTitle, QStringLiteral("未知的登录方式"));
    const Credentials account = way->check(state.accounts, form);
    if (account)
        return welcome(state.accounts, *account, *authorization);
    return loginPage(
        state, *authorization,
        {.way = way->name.toString(), .phone = field(form, QLatin1String("phone")), .error = account.error()});
}

Response answerCallback(ServerState &state, const Request &request)
{
    const Fields query = readFields(request.query.toUtf8());
    const Account *account = state.accounts.takeLoginCode(query.value(QStringLiteral("code")));
    if (!account)
        return errorPage(400, failureTitle, QStringLiteral("登录已失效，请返回重新登录"));
    const QString address =
        applicationAddress(*account, state.accounts.issueToken(*account), query.value(QStringLiteral("state")));
    if (state.loginEnding == LoginEnding::Redirect)
        return redirect(302, address);
    return callbackPage(state.loginEnding, address);
}

} // namespace devserver
