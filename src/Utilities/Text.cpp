#include "Text.h"

#include <QLocale>
#include <QRegularExpression>
#include <QTextBoundaryFinder>
#include <algorithm>
#include <array>
#include <cmath>

namespace {

/// A code unit that always is a character of its own beside others of its kind, so that nothing
/// need be looked up: no combining marks, joiners, surrogates, Hangul parts or carriage returns.
bool standsAlone(char16_t unit)
{
    return (unit >= 0x20 && unit < 0x7F) || unit == '\n' || unit == '\t' || (unit >= 0x3001 && unit <= 0x3029)
        || (unit >= 0x3041 && unit <= 0x3096) || (unit >= 0x30A1 && unit <= 0x30FA)
        || (unit >= 0x3400 && unit <= 0x9FFF) || (unit >= 0xFF01 && unit <= 0xFF60)
        || (unit >= 0x2500 && unit <= 0x25FF);
}

/// Changes how the text around it is laid out, or how a terminal behaves.
bool isControl(QChar character)
{
    const char16_t unit = character.unicode();
    return character.category() == QChar::Other_Control || unit == 0x061C || unit == 0x200E || unit == 0x200F
        || (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

} // namespace

qsizetype lastCharactersStart(QStringView text, qsizetype count)
{
    qsizetype start = text.size();
    while (count > 0 && start > 0 && standsAlone(text[start - 1].unicode())) {
        --start;
        --count;
    }
    if (count == 0 && start > 0 && start < text.size() && text[start] == u'\n' && text[start - 1] == u'\r')
        return start - 1;
    if (count == 0 || start == 0)
        return start;
    // The run of simple characters ended, and its first one may belong to what stands before it.
    if (start < text.size()) {
        ++start;
        ++count;
    }
    for (qsizetype width = 4 * count + 16;; width *= 2) {
        const qsizetype from = std::max<qsizetype>(0, start - width);
        const QStringView window = text.sliced(from, start - from);
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, window.data(), window.size());
        finder.toEnd();
        qsizetype left = count;
        while (left > 0 && finder.toPreviousBoundary() > 0)
            --left;
        if (finder.position() > 0 || from == 0)
            return from + std::max<qsizetype>(0, finder.position());
    }
}

QString displayText(const QString &text)
{
    if (std::ranges::none_of(text, isControl))
        return text;
    QString shown = text;
    std::ranges::replace_if(shown, isControl, QChar(u' '));
    return shown;
}

QString byteCountText(qint64 bytes)
{
    constexpr std::array units{"KB", "MB", "GB", "TB"};
    if (bytes > 0 && bytes < 1000)
        return QStringLiteral("%1 字节").arg(bytes);
    double count = double(std::max<qint64>(bytes, 0)) / 1000;
    std::size_t unit = 0;
    while (std::round(count) >= 1000 && unit + 1 < units.size()) {
        count /= 1000;
        ++unit;
    }
    const int places = std::min(int(unit), 2);
    return QLocale::c().toString(count, 'f', places) + u' ' + QLatin1String(units[unit]);
}

QString shellWord(const QString &text)
{
    static const QRegularExpression plainWord(QStringLiteral("\\A[A-Za-z0-9_./:@%+,-]+\\z"));
    if (plainWord.match(text).hasMatch())
        return text;
    return u'\'' + QString(text).replace(u'\'', QLatin1String("'\\''")) + u'\'';
}

QString escapedForDoubleQuotes(QString text)
{
    static const QRegularExpression special(QStringLiteral("([\"$`\\\\])"));
    return text.replace(special, QStringLiteral("\\\\1"));
}
