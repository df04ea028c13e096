#include "Routes.h"

#include "CloudAPI.h"
#include "Login.h"
#include "Payment.h"
#include "QQBot.h"
#include "Session.h"
#include "TokenAccount.h"
#include "Update.h"
#include "WeixinPlugin.h"

#include <algorithm>
#include <array>

namespace devserver {

namespace {

Response softwareCatalog(ServerState &state, const Request &)
{
    return success(state.catalog);
}

/// Whether a path is the row's, whose segment "*" stands for any one but the empty one.
bool matches(QStringView rowPath, QStringView path)
{
    const auto expected = rowPath.split(u'/');
    return std::ranges::equal(expected, path.split(u'/'), [](QStringView row, QStringView segment) {
        return row == u"*" ? !segment.isEmpty() : row == segment;
    });
}

constexpr std::array Routes{
    Route{"GET", u"/api/v1/software/catalog", softwareCatalog},
    Route{"GET", u"/api/v1/software/files/weixin/download", answerWeixinDownload},
    Route{"POST", u"/weixin/login", answerWeixinLogin},
    Route{"GET", u"/weixin/login", answerWeixinState},
    Route{"GET", u"/weixin/scan", answerWeixinScan},
    Route{"GET", u"/api/v1/token/balance", answerBalance},
    Route{"GET", u"/api/v1/token/packages", answerPackages},
    Route{"GET", u"/api/v1/token/transactions", answerTransactions},
    Route{"GET", u"/api/v1/token/usage/weekly", answerWeeklyUsage},
    Route{"POST", u"/api/v1/token/recharge", answerRecharge},
    Route{"GET", u"/api/v1/token/recharge/*/status", answerRechargeStatus},
    Route{"POST", u"/api/v1/user/change-password", answerChangePassword},
    Route{"GET", u"/api/v1/update/check", answerUpdateCheck},
    Route{"GET", u"/downloads/Vaelix.dmg", answerUpdateImage},
    Route{"GET", u"/v1/models", answerModels},
    Route{"POST", u"/v1/chat/completions", answerChatCompletion},
    Route{"GET", u"/pay/*", answerPaymentPage},
    Route{"POST", u"/pay/*", answerPay},
    Route{"GET", u"/authorize", answerAuthorize},
    Route{"POST", u"/authorize/code", answerPhoneCode},
    Route{"POST", u"/authorize/login", answerLogin},
    Route{"GET", u"/auth/callback", answerCallback},
    Route{"GET", u"/auth/verify", answerVerify},
    Route{"POST", u"/auth/logout", answerLogout},
    Route{"GET", u"/qqbot/openclaw/index.html", answerQQBot},
    Route{"GET", u"/qqbot/openclaw/frame.html", answerQQBotFrame},
    Route{"GET", u"/qqbot/openclaw/credentials", answerQQBotCredentials},
    Route{"POST", u"/qqbot/openclaw/create", createQQBot},
    Route{"POST", u"/_control/qqbot", controlQQBot},
    Route{"POST", u"/_control/update", controlUpdate},
    Route{"DELETE", u"/_control/update", withdrawUpdate},
    Route{"POST", u"/_control/orders", controlOrders},
    Route{"GET", u"/_control/orders", listOrders},
    Route{"POST", u"/_control/history", controlHistory},
    Route{"POST", u"/_control/balance", controlBalance},
};

} // namespace

const Route *findRoute(QByteArrayView method, QStringView path)
{
    const auto route = std::ranges::find_if(
        Routes, [&](const Route &candidate) { return candidate.method == method && matches(candidate.path, path); });
    return route == Routes.end() ? nullptr : &*route;
}

} // namespace devserver
