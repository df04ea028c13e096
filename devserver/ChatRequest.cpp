#include "ChatRequest.h"

#include <algorithm>
#include <array>

namespace devserver {

namespace {

constexpr qint64 tokensPerMessage = 4;
constexpr auto invalidRequest = "invalid_request_error";

constexpr std::array<const char *, 6> models{"gpt-4o",     "claude-3.7-sonnet", "deepseek-r1",
                                             "qwen3-235b", "gemini-2.5-pro",    "grok-4"};
constexpr std::array roles{"system", "developer", "user", "assistant", "tool", "function"};

struct Message {
    std::string role;
    QString text;
};

std::unexpected<APIRefusal> refused(const char *parameter, const QString &message)
{
    return std::unexpected(
        APIRefusal{.status = 400, .type = invalidRequest, .parameter = parameter, .message = message});
}

/// The text under a key; nothing when it is missing or no text.
std::optional<std::string> textOf(const JSON &object, const char *key)
{
    const auto value = object.is_object() ? object.find(key) : object.end();
    if (!object.is_object() || value == object.end() || !value->is_string())
        return {};
    return value->get<std::string>();
}

/// Whether the value under a key is true.
bool isSet(const JSON &object, const char *key)
{
    return object.is_object() && object.value(key, JSON()) == true;
}

/// The text of a content: a string, or the text of its parts; what is not text, an image for example, adds nothing.
std::optional<QString> contentText(const JSON &content)
{
    if (content.is_string())
        return QString::fromStdString(content.get<std::string>());
    if (!content.is_array())
        return {};
    QString text;
    for (const JSON &part : content) {
        const auto type = textOf(part, "type");
        const auto partText = textOf(part, "text");
        if (!type || (*type == "text" && !partText))
            return {};
        text += *type == "text" ? QString::fromStdString(*partText) : QString();
    }
    return text;
}

std::expected<Message, APIRefusal> readMessage(const JSON &message)
{
    const auto role = textOf(message, "role");
    if (!role || std::ranges::find(roles, *role) == roles.end())
        return refused("messages",
                       QStringLiteral("每条消息都要有 role，取值为 system、developer、user、assistant、"
                                      "tool 或 function"));
    const JSON content = message.value("content", JSON());
    if (content.is_null() && (*role == "assistant" || *role == "function"))
        return Message{*role, {}};
    const auto text = contentText(content);
    if (!text)
        return refused("messages", QStringLiteral("消息的 content 应为字符串，或由各部分组成的数组"));
    return Message{*role, *text};
}

std::expected<QString, APIRefusal> readModel(const JSON &object)
{
    const auto model = textOf(object, "model");
    if (!model)
        return refused("model", QStringLiteral("缺少 model"));
    if (std::ranges::find(models, *model) == models.end())
        return std::unexpected(
            APIRefusal{.status = 404,
                       .type = invalidRequest,
                       .code = "model_not_found",
                       .parameter = "model",
                       .message = QStringLiteral("没有这个模型：%1").arg(QString::fromStdString(*model))});
    return QString::fromStdString(*model);
}

} // namespace

std::span<const char *const> modelNames()
{
    return models;
}

qint64 tokenCount(const QString &text)
{
    const QList<uint> characters = text.toUcs4();
    const auto ascii = std::ranges::count_if(characters, [](uint character) { return character < 0x80; });
    return characters.size() - ascii + (ascii + 3) / 4;
}

std::expected<ChatRequest, APIRefusal> readChatRequest(const QByteArray &body)
{
    const JSON object = JSON::parse(body.begin(), body.end(), nullptr, false);
    if (!object.is_object())
        return refused(nullptr, QStringLiteral("请求体不是 JSON 对象"));
    const auto model = readModel(object);
    if (!model)
        return std::unexpected(model.error());
    const JSON messages = object.value("messages", JSON());
    if (!messages.is_array() || messages.empty())
        return refused("messages", QStringLiteral("messages 应为非空的数组"));
    ChatRequest request{.model = *model,
                        .isStreamed = isSet(object, "stream"),
                        .asksForUsage = isSet(object.value("stream_options", JSON()), "include_usage")};
    for (const JSON &each : messages) {
        const auto message = readMessage(each);
        if (!message)
            return std::unexpected(message.error());
        request.promptTokens += tokensPerMessage + tokenCount(message->text);
        if (message->role == "user")
            request.question = message->text;
    }
    return request;
}

} // namespace devserver
