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

/// A whole document that is not kept in any cache.
Response document(int status, const HTML &whole);

/// Such a document in the server's own look. `head` goes into its head.
Response page(int status, const QString &title, const HTML &content, const HTML &head = {});

/// A page that says what went wrong.
Response errorPage(int status, const QString &title, const QString &message);

/// Leads a browser on to `address`: 302 as it likes, 303 by GET.
Response redirect(int status, const QString &address);

} // namespace devserver
