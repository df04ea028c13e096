#pragma once

#include "ServerState.h"

namespace devserver {

// The update server.

/// GET /api/v1/update/check: whether there is a newer build than the query's "build_number". The request is signed:
/// "X-Product-Key", "X-Timestamp" (seconds since 1970, at most five minutes off) and "X-Signature", the HMAC-SHA-256
/// of both in hexadecimal. An unsigned one gets status 401 and code 1.
Response answerUpdateCheck(ServerState &state, const Request &request);

/// GET /downloads/Vaelix.dmg: the offered disk image; a download broken off can be resumed with a range.
Response answerUpdateImage(ServerState &state, const Request &request);

/// POST /_control/update: sets any of "version", "build", "notes", "mandatory", "file", "hash", "url" of the offer,
/// and how the image is delivered: "announceLength", "bytesPerSecond" and "cutAfter" (bytes; 0 for neither).
/// A new file brings its size and hash along.
Response controlUpdate(ServerState &state, const Request &request);

/// DELETE /_control/update: there is nothing to offer.
Response withdrawUpdate(ServerState &state, const Request &request);

} // namespace devserver
