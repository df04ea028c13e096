#pragma once

#include <QString>
#include <QStringView>

/// Where the last `count` user-perceived characters of `text` begin; 0 when it has no more than that.
/// Looks at no more of the text than these characters need.
qsizetype lastCharactersStart(QStringView text, qsizetype count);

/// A text of somebody else's as one line on a screen or in a terminal: control characters, line ends among them, and
/// those that change the direction of the text around them are spaces.
QString displayText(const QString &text);

/// A file's size in decimal units, for example "12.3 MB"; the larger the unit, the more decimal places.
QString byteCountText(qint64 bytes);

/// `text` as one word of a shell command line, quoted where it needs to be.
QString shellWord(const QString &text);

/// `text` as part of a shell's double-quoted string.
QString escapedForDoubleQuotes(QString text);
