#include "Client.h"
#include "Support/Table.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace devserver;

namespace {

constexpr auto PagePath = "/qqbot/openclaw/index.html";

/// What a reader of the page finds: its text without scripts, and the values of its attributes.
struct Found {
    QString textId, textSecret, attributeId, attributeSecret;

    bool operator==(const Found &) const = default;
};

QString capture(const QString &text, const char *pattern)
{
    return QRegularExpression(QLatin1String(pattern), QRegularExpression::CaseInsensitiveOption)
        .match(text)
        .captured(1);
}

Found find(const Reply &page)
{
    static const QRegularExpression unseen(u"<(head|script)\\b.*?</\\1>"_s,
                                           QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression tag(u"<[^>]*>"_s);
    const QString body = page.text().remove(unseen);
    const QString text = QString(body).remove(tag);
    return {capture(text, "AppID[:\\s]*([0-9]{8,15})"), capture(text, "AppSecret[:\\s]*([A-Za-z0-9]{20,64})"),
            capture(body, "appId=\"([0-9]{8,15})\""), capture(body, "appSecret=\"([A-Za-z0-9]{20,64})\"")};
}

} // namespace

class tst_DevServerQQBot : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_client = std::make_unique<Client>(ServerState{}); }
    void credentialsAppearOnlyInTheWayAskedFor_data();
    void credentialsAppearOnlyInTheWayAskedFor();
    void buttonCreatesTheBotForGood();
    void controlDecidesWhatThePlainAddressShows();

private:
    QString id() { return m_client->state().qqBot.appId; }
    QString secret() { return m_client->state().qqBot.appSecret; }

    std::unique_ptr<Client> m_client;
};

void tst_DevServerQQBot::credentialsAppearOnlyInTheWayAskedFor_data()
{
    // otherPath: where the page takes them from
    const auto row = columns<bool, bool, QString>("inText", "inAttributes", "otherPath");
    row("text", true, false, {});
    row("attributes", false, true, {});
    row("iframe", false, false, u"src=\"/qqbot/openclaw/frame.html\""_s);
    row("late", false, false, u"fetch(\"/qqbot/openclaw/credentials\")"_s);
}

void tst_DevServerQQBot::credentialsAppearOnlyInTheWayAskedFor()
{
    QFETCH(bool, inText);
    QFETCH(bool, inAttributes);
    QFETCH(QString, otherPath);
    const QByteArray way = QTest::currentDataTag();
    QCOMPARE(m_client->control("qqbot", R"({"created":true,"show":")" + way + R"("})").status, 200);
    const Found expected{.textId = inText ? id() : QString(),
                         .textSecret = inText ? secret() : QString(),
                         .attributeId = inAttributes ? id() : QString(),
                         .attributeSecret = inAttributes ? secret() : QString()};
    for (const QByteArray &query : {QByteArray(), "?show=" + way}) {
        const Reply page = m_client->get(PagePath + query);
        QCOMPARE(page.status, 200);
        QVERIFY2(find(page) == expected, page.body.constData());
        QVERIFY(page.text().contains(otherPath));
        QCOMPARE(page.text().contains(secret()), inText || inAttributes);
    }
}

void tst_DevServerQQBot::buttonCreatesTheBotForGood()
{
    const Reply before = m_client->get(PagePath);
    QVERIFY(before.text().contains(u"<button type=\"submit\">创建机器人</button>"_s));
    QVERIFY(find(before) == Found());
    const QByteArray target = capture(before.text(), "method=\"post\" action=\"([^\"]*)\"").toUtf8();

    const Reply pressed = m_client->send("POST", target);
    QCOMPARE(pressed.status, 303);
    QCOMPARE(pressed.header("Location"), PagePath);
    for (int visit = 0; visit < 2; ++visit)
        QCOMPARE(find(m_client->get(PagePath)).textSecret, secret());
}

void tst_DevServerQQBot::controlDecidesWhatThePlainAddressShows()
{
    m_client->control("qqbot", R"({"appId":"<1234567>","appSecret":"a&b","created":true})");
    QVERIFY(m_client->get(PagePath).body.contains("<dd>&lt;1234567&gt;</dd>"));
    QVERIFY(m_client->get(PagePath + QByteArray("?show=attributes")).body.contains("data-appsecret=\"a&amp;b\""));
    m_client->control("qqbot", R"({"created":false})");
    QVERIFY(!m_client->get(PagePath).body.contains("1234567"));
    QCOMPARE(id(), u"<1234567>"_s);
    for (const char *unknown : {"?show=popup", "?show="})
        QCOMPARE(m_client->get(PagePath + QByteArray(unknown)).status, 400);
}

QTEST_GUILESS_MAIN(tst_DevServerQQBot)
#include "tst_DevServerQQBot.moc"
