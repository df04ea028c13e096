#pragma once

#include "HTTPMessage.h"

#include <QMap>

namespace devserver {

/// Markup, as opposed to text: whatever came from outside is escaped in it.
struct HTML {
    QByteArray markup;
};

/// Fit for the content of an element and for a value in double quotes.
HTML escaped(const QString &text);

/// The embedded template pages/`name` with each {{key}} replaced by its value, in one pass. A key without a
/// value is a fault of the program and ends it.
HTML filled(const QString &name, const QMap<QByteArray, HTML> &values);

/// A whole page that is not kept in any cache. `head` goes into its head.
Response page(int status, const HTML &content, const HTML &head = {});

/// A page that says what went wrong.
Response errorPage(int status, const QString &message);

} // namespace devserver
