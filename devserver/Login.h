#pragma once

#include "Named.h"
#include "ServerState.h"

namespace devserver {

inline constexpr std::array loginEndings{
    Named<LoginEnding>{"script", LoginEnding::Script}, Named<LoginEnding>{"link", LoginEnding::Link},
    Named<LoginEnding>{"form", LoginEnding::Form},     Named<LoginEnding>{"redirect", LoginEnding::Redirect},
    Named<LoginEnding>{"meta", LoginEnding::Meta},
};

// The web login. Every address of it but the last carries the query of the first: "client_id" (vaelix),
// "redirect_uri" (this server's own /auth/callback) and "state".

/// GET /authorize: the page to sign in on, with the phone number of the last login filled in.
Response answerAuthorize(ServerState &state, const Request &request);

/// POST /authorize/code: sends the form's "phone" a code. No message goes anywhere: the answer holds the code.
Response answerPhoneCode(ServerState &state, const Request &request);

/// POST /authorize/login: the form says the "way" and what it needs: code ("phone", "code"), password ("phone",
/// "password") or wechat ("account", a user id). Goes on to the redirect address, or shows the page again.
Response answerLogin(ServerState &state, const Request &request);

/// GET /auth/callback: exchanges the query's "code" for a token and hands it to the application with an
/// x-vaelix://callback address ("token", "user_id", "api_key", "display_name", and the login's "state"), by the ending
/// that is set.
Response answerCallback(ServerState &state, const Request &request);

} // namespace devserver
