#pragma once

#include "ServerState.h"

namespace devserver {

/// One row of the table of everything the server answers. A segment "*" of the path stands for any text.
struct Route {
    QByteArrayView method;
    QStringView path;
    Response (*answer)(ServerState &state, const Request &request);
};

/// The row for this method and path, or nothing.
const Route *findRoute(QByteArrayView method, QStringView path);

} // namespace devserver
