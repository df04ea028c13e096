#pragma once

#include "FaultTable.h"
#include "ServerState.h"

#include <QStringView>

namespace devserver {

/// Whether a path belongs to the control endpoints, which take no faults and are not recorded.
bool isControlPath(QStringView path);

/// Answers the control endpoints, for demonstrations by hand; these, and those in the table of routes:
///
///   POST   /_control/faults    switches a fault on. The body is a JSON object with "path" and any of "method"
///                              ("GET" when missing), "times", "delayMs", "status", "body", "contentType",
///                              "location", "length" (bytes up to which the body is repeated), "announceLength" and
///                              "drop" ("beforeAnswer" or "midBody")
///   DELETE /_control/faults    switches all faults off
///   GET    /_control/requests  lists the recorded requests
///   POST   /_control/login     {"ending": …} says how logins end: "script", "link", "form", "redirect" or "meta"
///   POST   /_control/tokens    {"action": …} lets tokens "expire" or does "revoke" them: those of "userId", or all
Response answerControl(const Request &request, ServerState &state, FaultTable &faults, const QList<Request> &recorded);

} // namespace devserver
