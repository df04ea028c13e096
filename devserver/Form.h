#pragma once

#include "HTTPMessage.h"

#include <QHash>

namespace devserver {

/// Decoded names and values. Of several values of one name the first counts.
using Fields = QHash<QString, QString>;

/// Reads a query or the body of a form; a plus sign is a space.
Fields readFields(const QByteArray &encoded);

/// Whether the body is said to be a form's (application/x-www-form-urlencoded).
bool isForm(const Request &request);

} // namespace devserver
