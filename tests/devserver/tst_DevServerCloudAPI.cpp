#include "ChatRequest.h"
#include "Client.h"
#include "Support/Table.h"

#include <QSet>

using namespace Qt::StringLiterals;
using namespace devserver;

namespace {

constexpr auto ChatPath = "/v1/chat/completions";
const Client::Headers Key{{"Authorization", "Bearer sk-1/+"}};

/// A whole body around these messages, with further keys.
QByteArray chatBody(const QByteArray &messages, const QByteArray &further = {})
{
    return R"({"model":"gpt-4o","messages":)" + messages + further + '}';
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
    ServerState state{.accounts = Accounts({First, Second})};
    for (const Account &account : {First, Second})
        state.ledger.book(account.userId, {.type = EntryType::Bonus, .amount = 1000, .time = state.now()});
    m_client = std::make_unique<Client>(std::move(state));
}

void tst_DevServerCloudAPI::modelsAreListed()
{
    const JSON list = m_client->get("/v1/models", Key).json();
    QCOMPARE(text(list["object"]), u"list"_s);
    QSet<QString> ids;
    for (const JSON &model : list["data"]) {
        QCOMPARE(text(model["object"]), u"model"_s);
        QVERIFY(model["created"].is_number_integer());
        ids.insert(text(model["id"]));
    }
    QVERIFY(ids.contains(u"gpt-4o"_s));
    QCOMPARE(ids.size(), qsizetype(list["data"].size()));
}

void tst_DevServerCloudAPI::answerIsAboutTheLastMessageOfTheUser_data()
{
    const auto row = columns<QByteArray, QString>("body", "quoted");
    const QByteArray hello = R"([{"role":"user","content":"今天天气怎么样？"}])";
    const QString asked = u"“今天天气怎么样？”"_s;
    row("text", chatBody(hello), asked);
    row("conversation", chatBody(R"([{"role":"system","content":"S"},{"role":"user","content":"A"},
        {"role":"assistant","content":"B"},{"role":"user","content":"C"}])"),
        u"“C”"_s);
    row("tool call", chatBody(R"([{"role":"user","content":"A"},{"role":"assistant","content":null,
        "tool_calls":[{"id":"1","type":"function","function":{"name":"f","arguments":"{}"}}]},
        {"role":"tool","tool_call_id":"1","content":"R"}])"),
        u"“A”"_s);
    row("parts", chatBody(R"([{"role":"user","content":[{"type":"text","text":"一"},
        {"type":"image_url","image_url":{"url":"data:"}},{"type":"text","text":"二"}]}])"),
        u"“一二”"_s);
    row("everything else",
        chatBody(hello, R"(,"temperature":0.5,"tools":[{"type":"function","function":{"name":"f"}}],"stream":false,
        "tool_choice":"auto","max_tokens":5,"n":1)"),
        asked);
    row("long", chatBody(R"([{"role":"user","content":")" + QByteArray(199, 'x') + R"(😀y"}])"),
        u'“' + QString(199, u'x') + u"…”"_s);
    row("nobody asks", chatBody(R"([{"role":"system","content":"S"}])"), u"你好"_s);
}

void tst_DevServerCloudAPI::answerIsAboutTheLastMessageOfTheUser()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, quoted);
    const Reply reply = chat(body);
    QCOMPARE(reply.status, 200);
    const JSON json = reply.json();
    QCOMPARE(text(json["object"]), u"chat.completion"_s);
    QCOMPARE(text(json["model"]), u"gpt-4o"_s);
    QCOMPARE(json["choices"].size(), 1u);
    const JSON &choice = json["choices"][0];
    QCOMPARE(text(choice["finish_reason"]), u"stop"_s);
    QCOMPARE(text(choice["message"]["role"]), u"assistant"_s);
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
    const auto row = columns<QByteArray, bool>("options", "hasUsageChunk");
    row("plain", {}, false);
    row("usage asked for", R"(,"stream_options":{"include_usage":true})", true);
    row("usage not wanted", R"(,"stream_options":{"include_usage":false})", false);
    row("no options", R"(,"stream_options":null)", false);
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
        QCOMPARE(text(event["object"]), u"chat.completion.chunk"_s);
        QVERIFY(event["id"] == list.first()["id"]);
    }
    QCOMPARE(text(list.first()["choices"][0]["delta"]["role"]), u"assistant"_s);
    const JSON usage = hasUsageChunk ? list.takeLast() : list.last();
    QVERIFY(usage["usage"] == whole["usage"]);
    QCOMPARE(usage["choices"].empty(), hasUsageChunk);
    QCOMPARE(text(list.last()["choices"][0]["finish_reason"]), u"stop"_s);
    QString content;
    for (const JSON &event : list)
        content += QString::fromStdString(event["choices"][0]["delta"].value("content", ""));
    QCOMPARE(content, text(whole["choices"][0]["message"]["content"]));
}

void tst_DevServerCloudAPI::tokensAreCounted_data()
{
    const auto row = columns<QString, qint64>("text", "tokens");
    row("nothing", {}, 0);
    row("one letter", u"a"_s, 1);
    row("four letters", u"abcd"_s, 1);
    row("five letters", u"abcde"_s, 2);
    row("Chinese", u"你好"_s, 2);
    row("both", u"你a好b"_s, 3);
    row("beyond the first plane", u"😀"_s, 1);
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

    QCOMPARE(balance(First), 1000 - total);
    QCOMPARE(balance(Second), 1000);
    const Booking booking = m_client->state().ledger.entries(First.userId).last().booking;
    QCOMPARE(booking.type, EntryType::Consume);
    QCOMPARE(booking.description, u"gpt-4o 接口调用"_s);
}

void tst_DevServerCloudAPI::usedUpBalanceIsRefused()
{
    const QByteArray body = chatBody(R"([{"role":"user","content":"A"}])", R"(,"stream":true)");
    QCOMPARE(chat(body).status, 200);
    const qint64 cost = 1000 - balance(First);
    m_client->control("balance", R"({"userId":"u&1","tokens":)" + QByteArray::number(cost - 1) + '}');
    const Reply refused = chat(body);
    QCOMPARE(refused.status, 402);
    const JSON error = refused.json()["error"];
    QCOMPARE(text(error["type"]), u"insufficient_quota"_s);
    QCOMPARE(text(error["code"]), u"insufficient_quota"_s);
    QCOMPARE(text(error["message"]), u"Token 余额不足，请购买套餐"_s);
    QCOMPARE(balance(First), cost - 1);

    m_client->control("balance", R"({"userId":"u&1","tokens":)" + QByteArray::number(cost) + '}');
    QCOMPARE(chat(body).status, 200);
    QCOMPARE(balance(First), 0);
}

void tst_DevServerCloudAPI::badKeyIsRefused()
{
    const QByteArray body = chatBody(R"([{"role":"user","content":"A"}])");
    for (const char *header : {"", "Bearer ", "Bearer sk-1", "Digest sk-1/+"}) {
        const Client::Headers headers{{"Authorization", header}};
        for (const Reply &reply :
             {m_client->get("/v1/models", headers), m_client->send("POST", ChatPath, body, headers)}) {
            QVERIFY2(reply.status == 401, header);
            const JSON error = reply.json()["error"];
            QCOMPARE(text(error["code"]), u"invalid_api_key"_s);
            QVERIFY(error["param"].is_null());
        }
    }
}

void tst_DevServerCloudAPI::badBodyIsRefusedAndCostsNothing_data()
{
    const auto row = columns<QByteArray, QString, int>("body", "parameter", "status");
    row("no JSON", "{", u""_s, 400);
    row("array", "[]", u""_s, 400);
    row("no model", R"({"messages":[{"role":"user","content":"A"}]})", u"model"_s, 400);
    row("model no text", R"({"model":1,"messages":[{"role":"user","content":"A"}]})", u"model"_s, 400);
    row("unknown model", R"({"model":"gpt-1","messages":[{"role":"user","content":"A"}]})", u"model"_s, 404);
    row("no messages", R"({"model":"gpt-4o"})", u"messages"_s, 400);
    row("messages empty", chatBody("[]"), u"messages"_s, 400);
    row("messages no array", chatBody(R"({"role":"user","content":"A"})"), u"messages"_s, 400);
    row("message no object", chatBody(R"(["A"])"), u"messages"_s, 400);
    row("no role", chatBody(R"([{"content":"A"}])"), u"messages"_s, 400);
    row("unknown role", chatBody(R"([{"role":"root","content":"A"}])"), u"messages"_s, 400);
    row("no content", chatBody(R"([{"role":"user"}])"), u"messages"_s, 400);
    row("content null", chatBody(R"([{"role":"user","content":null}])"), u"messages"_s, 400);
    row("content a number", chatBody(R"([{"role":"user","content":1}])"), u"messages"_s, 400);
    row("part no object", chatBody(R"([{"role":"user","content":["A"]}])"), u"messages"_s, 400);
    row("part without text", chatBody(R"([{"role":"user","content":[{"type":"text"}]}])"), u"messages"_s, 400);
    row("second message bad", chatBody(R"([{"role":"user","content":"A"},{"role":"user"}])"), u"messages"_s, 400);
}

void tst_DevServerCloudAPI::badBodyIsRefusedAndCostsNothing()
{
    QFETCH(QByteArray, body);
    const Reply reply = chat(body);
    QTEST(reply.status, "status");
    const JSON error = reply.json()["error"];
    QCOMPARE(text(error["type"]), u"invalid_request_error"_s);
    QVERIFY(!text(error["message"]).isEmpty());
    QTEST(error["param"].is_null() ? QString() : text(error["param"]), "parameter");
    QCOMPARE(balance(First), 1000);
}

QTEST_GUILESS_MAIN(tst_DevServerCloudAPI)
#include "tst_DevServerCloudAPI.moc"
