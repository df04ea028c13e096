#pragma once

#include "HTTPMessage.h"

namespace devserver {

/// What a request with a header "Range" gets of a whole answer: status 206 with the one range it asks for, 416 when
/// that lies behind the end, and the whole answer when it asks for none, several or none that can be read, or when
/// its "If-Range" is not `tag`.
Response rangeOf(Response whole, const QByteArray &tag, const Request &request);

} // namespace devserver
