#pragma once

#include "Accounts.h"
#include "HTTPMessage.h"
#include "Ledger.h"
#include "Orders.h"
#include "UpdateOffer.h"
#include "WeixinPlugin.h"

#include <functional>

namespace devserver {

/// How the page that ends a login goes on to the application.
enum class LoginEnding {
    Script, // sets its location, after a moment
    Link, // clicks a link
    Form, // submits a form
    Redirect, // there is no page, only status 302
    Meta, // refreshes itself
};

/// How the QQ bot platform's page shows a bot's credentials.
enum class QQBotShow {
    Text, // as text of the page
    Attributes, // in attributes only
    IFrame, // as text of a frame inside the page
    Late, // as text that a script fetches a moment after the page was loaded
};

/// The one bot that the QQ bot platform has.
struct QQBot {
    bool isCreated = false;
    QString appId = QStringLiteral("1029384756");
    QString appSecret = QStringLiteral("Kq7ZtB2xWm94LrVfYd81NcHs0PjEa6Ug");
    QQBotShow show = QQBotShow::Text;
};

/// Everything the server knows; held in memory only.
struct ServerState {
    JSON catalog = JSON::array();
    Accounts accounts;
    LoginEnding loginEnding = LoginEnding::Script;
    QQBot qqBot;
    Ledger ledger;
    Orders orders;
    qsizetype transactionsPerPage = 100;
    qint64 completions = 0; // of the cloud model API so far
    std::optional<UpdateOffer> update;
    std::function<QDateTime()> now = QDateTime::currentDateTimeUtc;
    WeixinLogins weixinLogins;
};

} // namespace devserver
