#include "ChatRequest.h"
#include "Client.h"

#include <QSet>
#include <QTest>

using namespace devserver;

namespace {

constexpr auto ChatPath = "/v1/chat/completions";
const Account User{QStringLiteral("u1"), QStringLiteral("张伟"), QStringLiteral("13800000001"),
                   QStringLiteral("p"),  QStringLiteral("user"), QStringLiteral("sk-1")};
const Account Other{QStringLiteral("u2"), QStringLiteral("李娜"), QStringLiteral("13800000002"),
                    QStringLiteral("q"),  QStringLiteral("user"), QStringLiteral("sk-2")};
const Client::Headers Key{{"Authorization", "Bearer sk-1"}};

/// A whole body around these messages, with further keys.
QByteArray chatBody(const QByteArray &messages, const QByteArray &further = {})
{
    return R"({"model":"gpt-4o","messages":)" + messages + further + '}';
}

QString text(const JSON &value)
{
    return QString::fromStdString(value.get<std::string>());
}

/// The events of a stream but the last, which must be "[DONE]".
QList<JSON> events(const QByteArray &stream)
{
    QList<JSON> list;
    QByteArrayList blocks = stream.split('\n');
    blocks.removeAll(QByteArray());
    if (blocks.takeLast() != "data: [DONE]")
        return {};
    for (const QByteArray &block : blocks) {
        if (!block.startsWith("data: "))
            return {};
        list.append(JSON::parse(block.sliced(6).toStdString()));
    }
    return list;
}

} // namespace

class tst_DevServerCloudAPI : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void modelsAreListed();
    void answerIsAboutTheLastMessageOfTheUser_data();
    void answerIsAboutTheLastMessageOfTheUser();
    void sameQuestionGetsTheSameAnswer();
    void streamCarriesTheAnswerInPieces_data();
    void streamCarriesTheAnswerInPieces();
    void tokensAreCounted_data();
    void tokensAreCounted();
    void tokensAreBookedToTheKeysAccount();
    void usedUpBalanceIsRefused();
    void badKeyIsRefused_data();
    void badKeyIsRefused();
    void badBodyIsRefusedAndCostsNothing_data();
    void badBodyIsRefusedAndCostsNothing();

private:
    Reply chat(const QByteArray &body) { return m_client->send("POST", ChatPath, body, Key); }
    qint64 balance(const Account &account) { return m_client->state().ledger.balance(account.userId); }

    std::unique_ptr<Client> m_client;
};

void tst_DevServerCloudAPI::init()
{
    ServerState state{.accounts = Accounts({User, Other})};
    for (const Account &account : {User, Other})
        state.ledger.book(account.userId, {.type = EntryType::Bonus, .amount = 1000, .time = state.now()});
    m_client = std::make_unique<Client>(std::move(state));
}

void tst_DevServerCloudAPI::modelsAreListed()
{
    const JSON list = m_client->get("/v1/models", Key).json();
    QCOMPARE(text(list["object"]), QStringLiteral("list"));
    QSet<QString> ids;
    for (const JSON &model : list["data"]) {
        QCOMPARE(text(model["object"]), QStringLiteral("model"));
        QVERIFY(model["created"].is_number_integer());
        ids.insert(text(model["id"]));
    }
    QVERIFY(ids.contains(QStringLiteral("gpt-4o")));
    QCOMPARE(ids.size(), qsizetype(list["data"].size()));
}

void tst_DevServerCloudAPI::answerIsAboutTheLastMessageOfTheUser_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("quoted");
    const QByteArray hello = R"([{"role":"user","content":"今天天气怎么样？"}])";
    const QString asked = QStringLiteral("“今天天气怎么样？”");
    QTest::newRow("text") << chatBody(hello) << asked;
    QTest::newRow("conversation") << chatBody(R"([{"role":"system","content":"S"},{"role":"user","content":"A"},
        {"role":"assistant","content":"B"},{"role":"user","content":"C"}])")
                                  << QStringLiteral("“C”");
    QTest::newRow("tool call") << chatBody(R"([{"role":"user","content":"A"},{"role":"assistant","content":null,
        "tool_calls":[{"id":"1","type":"function","function":{"name":"f","arguments":"{}"}}]},
        {"role":"tool","tool_call_id":"1","content":"R"}])")
                               << QStringLiteral("“A”");
    QTest::newRow("parts") << chatBody(R"([{"role":"user","content":[{"type":"text","text":"一"},
        {"type":"image_url","image_url":{"url":"data:"}},{"type":"text","text":"二"}]}])")
                           << QStringLiteral("“一二”");
    QTest::newRow("everything else") << chatBody(
        hello, R"(,"temperature":0.5,"tools":[{"type":"function","function":{"name":"f"}}],"stream":false,
        "tool_choice":"auto","max_tokens":5,"n":1)")
                                     << asked;
    QTest::newRow("long") << chatBody(R"([{"role":"user","content":")" + QByteArray(199, 'x') + R"(😀y"}])")
                          << u'“' + QString(199, u'x') + QStringLiteral("…”");
    QTest::newRow("nobody asks") << chatBody(R"([{"role":"system","content":"S"}])") << QStringLiteral("你好");
}

void tst_DevServerCloudAPI::answerIsAboutTheLastMessageOfTheUser()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, quoted);
    const Reply reply = chat(body);
    QCOMPARE(reply.status, 200);
    const JSON json = reply.json();
    QCOMPARE(text(json["object"]), QStringLiteral("chat.completion"));
    QCOMPARE(text(json["model"]), QStringLiteral("gpt-4o"));
    QCOMPARE(json["choices"].size(), 1u);
    const JSON &choice = json["choices"][0];
    QCOMPARE(text(choice["finish_reason"]), QStringLiteral("stop"));
    QCOMPARE(text(choice["message"]["role"]), QStringLiteral("assistant"));
    QVERIFY2(text(choice["message"]["content"]).contains(quoted), reply.body.constData());
}

void tst_DevServerCloudAPI::sameQuestionGetsTheSameAnswer()
{
    const QByteArray body = chatBody(R"([{"role":"user","content":"A"}])");
    const JSON first = chat(body).json();
    const JSON second = chat(body).json();
    QVERIFY(first["choices"] == second["choices"]);
    QVERIFY(first["usage"] == second["usage"]);
    QVERIFY(first["id"] != second["id"]);
}

void tst_DevServerCloudAPI::streamCarriesTheAnswerInPieces_data()
{
    QTest::addColumn<QByteArray>("options");
    QTest::addColumn<bool>("hasUsageChunk");
    QTest::newRow("plain") << QByteArray() << false;
    QTest::newRow("usage asked for") << QByteArray(R"(,"stream_options":{"include_usage":true})") << true;
    QTest::newRow("usage not wanted") << QByteArray(R"(,"stream_options":{"include_usage":false})") << false;
    QTest::newRow("no options") << QByteArray(R"(,"stream_options":null)") << false;
}

void tst_DevServerCloudAPI::streamCarriesTheAnswerInPieces()
{
    QFETCH(QByteArray, options);
    QFETCH(bool, hasUsageChunk);
    const QByteArray messages = R"([{"role":"user","content":"把这句话😀分成几段"}])";
    const JSON whole = chat(chatBody(messages)).json();
    const Reply reply = chat(chatBody(messages, R"(,"stream":true)" + options));
    QCOMPARE(reply.status, 200);
    QCOMPARE(reply.error, QNetworkReply::NoError);
    QCOMPARE(reply.header("Content-Type"), "text/event-stream; charset=utf-8");

    QList<JSON> list = events(reply.body);
    QVERIFY(list.size() > 5);
    for (const JSON &event : list) {
        QCOMPARE(text(event["object"]), QStringLiteral("chat.completion.chunk"));
        QVERIFY(event["id"] == list.first()["id"]);
    }
    QCOMPARE(text(list.first()["choices"][0]["delta"]["role"]), QStringLiteral("assistant"));
    const JSON usage = hasUsageChunk ? list.takeLast() : list.last();
    QVERIFY(usage["usage"] == whole["usage"]);
    QCOMPARE(usage["choices"].empty(), hasUsageChunk);
    QCOMPARE(text(list.last()["choices"][0]["finish_reason"]), QStringLiteral("stop"));
    QString content;
    for (const JSON &event : list)
        content += QString::fromStdString(event["choices"][0]["delta"].value("content", ""));
    QCOMPARE(content, text(whole["choices"][0]["message"]["content"]));
}

void tst_DevServerCloudAPI::tokensAreCounted_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("tokens");
    QTest::newRow("nothing") << QString() << 0LL;
    QTest::newRow("one letter") << QStringLiteral("a") << 1LL;
    QTest::newRow("four letters") << QStringLiteral("abcd") << 1LL;
    QTest::newRow("five letters") << QStringLiteral("abcde") << 2LL;
    QTest::newRow("Chinese") << QStringLiteral("你好") << 2LL;
    QTest::newRow("both") << QStringLiteral("你a好b") << 3LL;
    QTest::newRow("beyond the first plane") << QStringLiteral("😀") << 1LL;
}

void tst_DevServerCloudAPI::tokensAreCounted()
{
    QFETCH(QString, text);
    QTEST(tokenCount(text), "tokens");
}

void tst_DevServerCloudAPI::tokensAreBookedToTheKeysAccount()
{
    const JSON json =
        chat(chatBody(R"([{"role":"system","content":"abcde"},{"role":"user","content":"你好"}])")).json();
    const JSON &usage = json["usage"];
    QCOMPARE(usage["prompt_tokens"].get<int>(), 4 + 2 + 4 + 2);
    QCOMPARE(usage["completion_tokens"].get<qint64>(), tokenCount(text(json["choices"][0]["message"]["content"])));
    const qint64 total = usage["prompt_tokens"].get<qint64>() + usage["completion_tokens"].get<qint64>();
    QCOMPARE(usage["total_tokens"].get<qint64>(), total);

    QCOMPARE(balance(User), 1000 - total);
    QCOMPARE(balance(Other), 1000);
    const Booking booking = m_client->state().ledger.entries(User.userId).last().booking;
    QCOMPARE(booking.type, EntryType::Consume);
    QCOMPARE(booking.description, QStringLiteral("gpt-4o 接口调用"));
}

void tst_DevServerCloudAPI::usedUpBalanceIsRefused()
{
    const QByteArray body = chatBody(R"([{"role":"user","content":"A"}])", R"(,"stream":true)");
    QCOMPARE(chat(body).status, 200);
    const qint64 cost = 1000 - balance(User);
    m_client->control("balance", R"({"userId":"u1","tokens":)" + QByteArray::number(cost - 1) + '}');
    const Reply refused = chat(body);
    QCOMPARE(refused.status, 402);
    const JSON error = refused.json()["error"];
    QCOMPARE(text(error["type"]), QStringLiteral("insufficient_quota"));
    QCOMPARE(text(error["code"]), QStringLiteral("insufficient_quota"));
    QCOMPARE(text(error["message"]), QStringLiteral("Token 余额不足，请购买套餐"));
    QCOMPARE(balance(User), cost - 1);

    m_client->control("balance", R"({"userId":"u1","tokens":)" + QByteArray::number(cost) + '}');
    QCOMPARE(chat(body).status, 200);
    QCOMPARE(balance(User), 0);
}

void tst_DevServerCloudAPI::badKeyIsRefused_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::newRow("none") << QByteArray();
    QTest::newRow("no key") << QByteArray("Bearer ");
    QTest::newRow("unknown") << QByteArray("Bearer sk-11");
    QTest::newRow("other scheme") << QByteArray("Basic sk-1");
}

void tst_DevServerCloudAPI::badKeyIsRefused()
{
    QFETCH(QByteArray, header);
    const Client::Headers headers = header.isEmpty() ? Client::Headers() : Client::Headers{{"Authorization", header}};
    const QByteArray body = chatBody(R"([{"role":"user","content":"A"}])");
    for (const Reply &reply : {m_client->get("/v1/models", headers), m_client->send("POST", ChatPath, body, headers)}) {
        QCOMPARE(reply.status, 401);
        const JSON error = reply.json()["error"];
        QCOMPARE(text(error["code"]), QStringLiteral("invalid_api_key"));
        QVERIFY(error["param"].is_null());
    }
}

void tst_DevServerCloudAPI::badBodyIsRefusedAndCostsNothing_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("parameter");
    const auto row = [](const char *name, const QByteArray &body, const char *parameter, int status = 400) {
        QTest::newRow(name) << body << status << QString::fromLatin1(parameter);
    };
    row("no JSON", "{", "");
    row("array", "[]", "");
    row("no model", R"({"messages":[{"role":"user","content":"A"}]})", "model");
    row("model no text", R"({"model":1,"messages":[{"role":"user","content":"A"}]})", "model");
    row("unknown model", R"({"model":"gpt-1","messages":[{"role":"user","content":"A"}]})", "model", 404);
    row("no messages", R"({"model":"gpt-4o"})", "messages");
    row("messages empty", chatBody("[]"), "messages");
    row("messages no array", chatBody(R"({"role":"user","content":"A"})"), "messages");
    row("message no object", chatBody(R"(["A"])"), "messages");
    row("no role", chatBody(R"([{"content":"A"}])"), "messages");
    row("unknown role", chatBody(R"([{"role":"root","content":"A"}])"), "messages");
    row("no content", chatBody(R"([{"role":"user"}])"), "messages");
    row("content null", chatBody(R"([{"role":"user","content":null}])"), "messages");
    row("content a number", chatBody(R"([{"role":"user","content":1}])"), "messages");
    row("part no object", chatBody(R"([{"role":"user","content":["A"]}])"), "messages");
    row("part without text", chatBody(R"([{"role":"user","content":[{"type":"text"}]}])"), "messages");
    row("second message bad", chatBody(R"([{"role":"user","content":"A"},{"role":"user"}])"), "messages");
}

void tst_DevServerCloudAPI::badBodyIsRefusedAndCostsNothing()
{
    QFETCH(QByteArray, body);
    const Reply reply = chat(body);
    QTEST(reply.status, "status");
    const JSON error = reply.json()["error"];
    QCOMPARE(text(error["type"]), QStringLiteral("invalid_request_error"));
    QVERIFY(!text(error["message"]).isEmpty());
    QTEST(error["param"].is_null() ? QString() : text(error["param"]), "parameter");
    QCOMPARE(balance(User), 1000);
}

QTEST_GUILESS_MAIN(tst_DevServerCloudAPI)
#include "tst_DevServerCloudAPI.moc"
