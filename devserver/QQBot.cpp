#include "QQBot.h"

#include "BodyReader.h"
#include "Form.h"
#include "Page.h"

namespace devserver {

namespace {

constexpr std::array ways{
    Named<QQBotShow>{"text", QQBotShow::Text},
    Named<QQBotShow>{"attributes", QQBotShow::Attributes},
    Named<QQBotShow>{"iframe", QQBotShow::IFrame},
    Named<QQBotShow>{"late", QQBotShow::Late},
};

HTML textCredentials(const QQBot &bot)
{
    return filled(QStringLiteral("QQBotText.html"),
                  {{"appId", escaped(bot.appId)}, {"appSecret", escaped(bot.appSecret)}});
}

HTML credentials(const QQBot &bot, QQBotShow way)
{
    switch (way) {
    case QQBotShow::Text:
        return textCredentials(bot);
    case QQBotShow::Attributes:
        return filled(QStringLiteral("QQBotAttributes.html"),
                      {{"appId", escaped(bot.appId)}, {"appSecret", escaped(bot.appSecret)}});
    case QQBotShow::IFrame:
        return filled(QStringLiteral("QQBotIFrame.html"), {});
    case QQBotShow::Late:
        return filled(QStringLiteral("QQBotLate.html"), {});
    }
    Q_UNREACHABLE();
}

Response platformPage(const HTML &content, const char *step)
{
    return document(200, filled(QStringLiteral("QQBot.html"), {{"content", content}, {"step", {step}}}));
}

} // namespace

Response answerQQBot(ServerState &state, const Request &request)
{
    const QQBot &bot = state.qqBot;
    const Fields query = readFields(request.query.toUtf8());
    if (!query.contains(QStringLiteral("show")))
        return bot.isCreated ? platformPage(credentials(bot, bot.show), "connect")
                             : platformPage(filled(QStringLiteral("QQBotCreate.html"), {}), "create");
    const auto way =
        std::ranges::find(ways, query.value(QStringLiteral("show")).toStdString(), &Named<QQBotShow>::name);
    if (way == ways.end())
        return errorPage(400, QStringLiteral("无法显示机器人"),
                         QStringLiteral("show 只能是 text、attributes、iframe 或 late"));
    return platformPage(credentials(bot, way->value), "connect");
}

Response answerQQBotFrame(ServerState &state, const Request &)
{
    return document(200, filled(QStringLiteral("QQBotFrame.html"), {{"content", textCredentials(state.qqBot)}}));
}

Response answerQQBotCredentials(ServerState &state, const Request &)
{
    return success({{"appId", state.qqBot.appId.toStdString()}, {"appSecret", state.qqBot.appSecret.toStdString()}});
}

Response createQQBot(ServerState &state, const Request &)
{
    state.qqBot.isCreated = true;
    return redirect(303, QStringLiteral("/qqbot/openclaw/index.html"));
}

Response controlQQBot(ServerState &state, const Request &request)
{
    BodyReader order(request.body);
    const QQBot &now = state.qqBot;
    const QQBot next{.isCreated = order.flag("created").value_or(now.isCreated),
                     .appId = order.text("appId").value_or(now.appId),
                     .appSecret = order.text("appSecret").value_or(now.appSecret),
                     .show = order.choice("show", ways).value_or(now.show)};
    if (const QString error = order.error(); !error.isEmpty())
        return failure(400, error);
    state.qqBot = next;
    return success(nullptr);
}

} // namespace devserver
