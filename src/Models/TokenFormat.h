#pragma once

#include <QString>

// How figures of the token account are written, whatever the system's locale.

/// `value` in decimal with that many decimals; a tie goes to the even digit, as in printf.
QString formatDecimal(double value, int decimals);

/// A count of tokens in short: "999", "1.5K" from a thousand on, "2.0M" from a million on.
QString formatTokenCount(qint64 count);

/// A price such as "¥39.90".
QString formatYuan(double yuan);
