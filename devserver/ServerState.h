#pragma once

#include "HTTPMessage.h"

namespace devserver {

/// Everything the server knows; held in memory only.
struct ServerState {
    JSON catalog = JSON::array();
};

} // namespace devserver
