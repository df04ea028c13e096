#include "TokenFormat.h"

#include <array>
#include <charconv>

// Not QString::number, which rounds a tie up, and not printf, which follows the locale.
QString formatDecimal(double value, int decimals)
{
    std::array<char, 400> digits; // the largest double has 309 before the point
    const auto end = std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed, decimals).ptr;
    return QString::fromLatin1(digits.data(), end - digits.data());
}

QString formatTokenCount(qint64 count)
{
    if (count >= 1'000'000)
        return formatDecimal(double(count) / 1'000'000, 1) + u'M';
    if (count >= 1000)
        return formatDecimal(double(count) / 1000, 1) + u'K';
    return QString::number(count);
}

QString formatYuan(double yuan)
{
    return u'¥' + formatDecimal(yuan, 2);
}
