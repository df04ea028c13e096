#include "CloudAPI.h"

#include "ChatRequest.h"
#include "Session.h"

#include <algorithm>

namespace devserver {

namespace {

using namespace std::chrono_literals;

constexpr qsizetype longestQuestion = 200; // what an answer repeats of it, in UTF-16 units
constexpr qsizetype charactersPerEvent = 4;

/// One answer on its way to the client.
struct Completion {
    ChatRequest request;
    QString text;
    std::string id;
    qint64 createdAt; // seconds since 1970
    qint64 tokens;
};

JSON orNull(const char *text)
{
    return text ? JSON(text) : JSON();
}

Response refuse(const APIRefusal &refusal)
{
    return {.status = refusal.status,
            .body = encode({{"error",
                             {{"message", refusal.message.toStdString()},
                              {"type", refusal.type},
                              {"param", orNull(refusal.parameter)},
                              {"code", orNull(refusal.code)}}}})};
}

APIRefusal badKey()
{
    return {.status = 401,
            .type = "invalid_request_error",
            .code = "invalid_api_key",
            .message = QStringLiteral("API Key 不正确，请在“API 接入”页复制")};
}

APIRefusal usedUp()
{
    return {.status = 402,
            .type = "insufficient_quota",
            .code = "insufficient_quota",
            .message = QStringLiteral("Token 余额不足，请购买套餐")};
}

QString sentenceAbout(const QString &question, const QString &model)
{
    const QString text = question.simplified();
    if (text.isEmpty())
        return QStringLiteral("你好，请告诉我你想问什么。");
    qsizetype end = std::min(text.size(), longestQuestion);
    if (end < text.size() && text.at(end - 1).isHighSurrogate())
        --end;
    return QStringLiteral("你问的是：“%1”。这里是 %2 的本机替身，没有真正的模型参与，只能告诉你问题已经收到。")
        .arg(end < text.size() ? text.first(end) + u'…' : text, model);
}

JSON usageOf(const Completion &completion)
{
    const qint64 prompt = completion.request.promptTokens;
    return {{"prompt_tokens", prompt},
            {"completion_tokens", completion.tokens},
            {"total_tokens", prompt + completion.tokens}};
}

JSON frameOf(const Completion &completion, const char *kind)
{
    return {{"id", completion.id},
            {"object", kind},
            {"created", completion.createdAt},
            {"model", completion.request.model.toStdString()}};
}

Response wholeAnswer(const Completion &completion)
{
    JSON json = frameOf(completion, "chat.completion");
    const JSON message{{"role", "assistant"}, {"content", completion.text.toStdString()}};
    json["choices"] = JSON::array({{{"index", 0}, {"message", message}, {"finish_reason", "stop"}}});
    json["usage"] = usageOf(completion);
    return {.body = encode(json)};
}

QByteArray event(const JSON &json)
{
    return "data: " + encode(json) + "\n\n";
}

/// An event with what is new in the answer.
JSON chunk(const Completion &completion, JSON delta, JSON finishReason = nullptr)
{
    JSON json = frameOf(completion, "chat.completion.chunk");
    json["choices"] =
        JSON::array({{{"index", 0}, {"delta", std::move(delta)}, {"finish_reason", std::move(finishReason)}}});
    return json;
}

/// The last event, or the one after it when it was asked for, carries the usage.
QByteArray ending(const Completion &completion)
{
    JSON last = chunk(completion, JSON::object(), "stop");
    if (!completion.request.asksForUsage) {
        last["usage"] = usageOf(completion);
        return event(last);
    }
    JSON usage = frameOf(completion, "chat.completion.chunk");
    usage["choices"] = JSON::array();
    usage["usage"] = usageOf(completion);
    return event(last) + event(usage);
}

Response streamedAnswer(const Completion &completion)
{
    QByteArray body = event(chunk(completion, {{"role", "assistant"}, {"content", ""}}));
    const QList<uint> characters = completion.text.toUcs4();
    for (qsizetype begin = 0; begin < characters.size(); begin += charactersPerEvent) {
        const QList<uint> piece = characters.mid(begin, charactersPerEvent);
        const QString text = QString::fromUcs4(reinterpret_cast<const char32_t *>(piece.data()), piece.size());
        body += event(chunk(completion, {{"content", text.toStdString()}}));
    }
    return {.body = body + ending(completion) + "data: [DONE]\n\n",
            .contentType = "text/event-stream; charset=utf-8",
            .headers = {{"Cache-Control", "no-cache"}},
            .delivery = {.announcesLength = false, .pieceSize = 512, .pause = 15ms}};
}

Completion complete(ServerState &state, const ChatRequest &request)
{
    const QString text = sentenceAbout(request.question, request.model);
    return {.request = request,
            .text = text,
            .id = "chatcmpl-" + std::to_string(++state.completions),
            .createdAt = state.now().toSecsSinceEpoch(),
            .tokens = tokenCount(text)};
}

} // namespace

Response answerModels(ServerState &state, const Request &request)
{
    if (!state.accounts.withAPIKey(bearerToken(request)))
        return refuse(badKey());
    JSON list = JSON::array();
    for (const char *name : modelNames())
        list.push_back({{"id", name}, {"object", "model"}, {"created", 1'735'689'600}, {"owned_by", "vaelix"}});
    return {.body = encode({{"object", "list"}, {"data", std::move(list)}})};
}

Response answerChatCompletion(ServerState &state, const Request &request)
{
    const Account *const account = state.accounts.withAPIKey(bearerToken(request));
    if (!account)
        return refuse(badKey());
    const auto chat = readChatRequest(request.body);
    if (!chat)
        return refuse(chat.error());
    const Completion completion = complete(state, *chat);
    const qint64 cost = chat->promptTokens + completion.tokens;
    if (cost > state.ledger.balance(account->userId))
        return refuse(usedUp());
    state.ledger.book(account->userId,
                      {.type = EntryType::Consume,
                       .amount = cost,
                       .description = QStringLiteral("%1 接口调用").arg(chat->model),
                       .time = state.now()});
    return chat->isStreamed ? streamedAnswer(completion) : wholeAnswer(completion);
}

} // namespace devserver
