#include "Client.h"

#include <QRegularExpression>
#include <QTest>

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
    static const QRegularExpression unseen(QStringLiteral("<(head|script)\\b.*?</\\1>"),
                                           QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression tag(QStringLiteral("<[^>]*>"));
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
    void frameAndScriptGetTheCredentials();
    void buttonCreatesTheBotForGood();
    void controlDecidesWhatThePlainAddressShows();
    void badControlRequestChangesNothing_data();
    void badControlRequestChangesNothing();
    void otherWaysAreRefused();

private:
    QString id() { return m_client->state().qqBot.appId; }
    QString secret() { return m_client->state().qqBot.appSecret; }

    std::unique_ptr<Client> m_client;
};

void tst_DevServerQQBot::credentialsAppearOnlyInTheWayAskedFor_data()
{
    QTest::addColumn<bool>("inText");
    QTest::addColumn<bool>("inAttributes");
    QTest::addColumn<QString>("otherPath"); // where the page takes them from
    QTest::newRow("text") << true << false << QString();
    QTest::newRow("attributes") << false << true << QString();
    QTest::newRow("iframe") << false << false << QStringLiteral("src=\"/qqbot/openclaw/frame.html\"");
    QTest::newRow("late") << false << false << QStringLiteral("fetch(\"/qqbot/openclaw/credentials\")");
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

void tst_DevServerQQBot::frameAndScriptGetTheCredentials()
{
    QVERIFY(QRegularExpression(QStringLiteral("^[0-9]{10}$")).match(id()).hasMatch());
    QVERIFY(QRegularExpression(QStringLiteral("^[A-Za-z0-9]{32}$")).match(secret()).hasMatch());
    const Found found = find(m_client->get("/qqbot/openclaw/frame.html"));
    QCOMPARE(found.textId, id());
    QCOMPARE(found.textSecret, secret());
    const JSON data = m_client->get("/qqbot/openclaw/credentials").json()["data"];
    QVERIFY(data == JSON({{"appId", id().toStdString()}, {"appSecret", secret().toStdString()}}));
}

void tst_DevServerQQBot::buttonCreatesTheBotForGood()
{
    const Reply before = m_client->get(PagePath);
    QVERIFY(before.text().contains(QStringLiteral("<button type=\"submit\">创建机器人</button>")));
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
    QCOMPARE(id(), QStringLiteral("<1234567>"));
}

void tst_DevServerQQBot::badControlRequestChangesNothing_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("no JSON") << QByteArray("show=late");
    QTest::newRow("unknown way") << QByteArray(R"({"appId":"1","show":"popup"})");
    QTest::newRow("way is no text") << QByteArray(R"({"appId":"1","show":1})");
    QTest::newRow("id is a number") << QByteArray(R"({"appId":1029384756})");
    QTest::newRow("flag is text") << QByteArray(R"({"appId":"1","created":"true"})");
    QTest::newRow("unknown key") << QByteArray(R"({"appId":"1","secret":"x"})");
}

void tst_DevServerQQBot::badControlRequestChangesNothing()
{
    QFETCH(QByteArray, body);
    QCOMPARE(m_client->control("qqbot", body).status, 400);
    QCOMPARE(id(), QQBot().appId);
    QCOMPARE(m_client->state().qqBot.show, QQBotShow::Text);
    QVERIFY(!m_client->state().qqBot.isCreated);
}

void tst_DevServerQQBot::otherWaysAreRefused()
{
    QCOMPARE(m_client->get(PagePath + QByteArray("?show=popup")).status, 400);
    QCOMPARE(m_client->get(PagePath + QByteArray("?show=")).status, 400);
}

QTEST_GUILESS_MAIN(tst_DevServerQQBot)
#include "tst_DevServerQQBot.moc"
