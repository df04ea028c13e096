#pragma once

#include "FaultTable.h"

#include <QStringView>

namespace devserver {

/// Whether a path belongs to the control endpoints, which take no faults and are not recorded.
bool isControlPath(QStringView path);

/// Answers the control endpoints, for demonstrations by hand:
///
///   POST   /_control/faults    switches a fault on. The body is a JSON object with "path" and any of "method"
///                              ("GET" when missing), "times", "delayMs", "status", "body", "contentType" and
///                              "drop" ("beforeAnswer" or "midBody")
///   DELETE /_control/faults    switches all faults off
///   GET    /_control/requests  lists the recorded requests
Response answerControl(const Request &request, FaultTable &faults, const QList<Request> &recorded);

} // namespace devserver
