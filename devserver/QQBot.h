#pragma once

#include "ServerState.h"

namespace devserver {

// The QQ bot platform's page for OpenClaw, with somebody signed in already.

/// GET /qqbot/openclaw/index.html: offers to create the bot, or shows its credentials once it is there. With the
/// query's "show" (text, attributes, iframe or late) it shows them in this way at once.
Response answerQQBot(ServerState &state, const Request &request);

/// GET /qqbot/openclaw/frame.html: the credentials as text, for the frame inside the page.
Response answerQQBotFrame(ServerState &state, const Request &request);

/// GET /qqbot/openclaw/credentials: "appId" and "appSecret", for the page's script.
Response answerQQBotCredentials(ServerState &state, const Request &request);

/// POST /qqbot/openclaw/create: creates the bot and leads back to the page.
Response createQQBot(ServerState &state, const Request &request);

/// POST /_control/qqbot: sets any of "show", "appId", "appSecret" and "created" for the address without a query.
Response controlQQBot(ServerState &state, const Request &request);

} // namespace devserver
