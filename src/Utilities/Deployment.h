#pragma once

#include <QString>

/// Where this build's servers are. The environment variable VAELIX_SERVER_ORIGIN replaces every
/// origin with one on this machine's loopback, for development; any other value is ignored.
namespace Deployment {

// Origins without a trailing slash, for example "https://account.vaelix.example".
QString accountOrigin();
QString loginOrigin();
QString updateOrigin();
QString cloudAPIOrigin();
QString webOrigin();
QString qqBotOrigin();

} // namespace Deployment
