#pragma once

#include "Accounts.h"
#include "HTTPMessage.h"

namespace devserver {

/// How the page that ends a login goes on to the application.
enum class LoginEnding {
    Script, // sets its location, after a moment
    Link, // clicks a link
    Form, // submits a form
    Redirect, // there is no page, only status 302
    Meta, // refreshes itself
};

/// Everything the server knows; held in memory only.
struct ServerState {
    JSON catalog = JSON::array();
    Accounts accounts;
    LoginEnding loginEnding = LoginEnding::Script;
};

} // namespace devserver
