#include "TerminalOutput.h"

#include "Utilities/Text.h"

#include <QRegularExpression>
#include <QString>

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace {

/// Counted from one refresh to the next, so that steady output is drawn at a steady pace.
constexpr auto refreshInterval = 16ms;

constexpr qsizetype shownCharacters = 6000;
constexpr qsizetype progressScanCharacters = 400;
constexpr qsizetype completionScanCharacters = 100;

/// The last this many bytes hold `shownCharacters` of Chinese text; a text of longer characters, or of
/// many colours, is decoded anew with more.
constexpr qsizetype decodedBytes = 20 * 1024;

QStringView lastCharacters(QStringView text, qsizetype count)
{
    return text.sliced(lastCharactersStart(text, count));
}

/// The end of `utf8`, from a character's first byte on, of at most `size` bytes.
QByteArrayView lastBytes(QByteArrayView utf8, qsizetype size)
{
    if (utf8.size() <= size)
        return utf8;
    QByteArrayView end = utf8.last(size);
    while ((uchar(end.front()) & 0xC0) == 0x80)
        end = end.sliced(1);
    return end;
}

/// `text` without the escape sequences that colour a terminal.
QString withoutEscapes(QString text)
{
    static const QRegularExpression escape(QStringLiteral("\x1B\\[[0-?]*[ -/]*[@-~]"));
    return text.contains(u'\x1B') ? text.remove(escape) : text;
}

/// The fraction one line of curl's meter tells: a percentage first, a time ninth.
std::optional<double> meterFraction(QStringView line)
{
    static const QRegularExpression whiteSpace(QStringLiteral("\\s+"));
    const QList<QStringView> fields = line.split(whiteSpace, Qt::SkipEmptyParts);
    if (fields.size() < 9 || !fields[8].contains(u':'))
        return {};
    bool isNumber = false;
    const double percentage = fields[0].toDouble(&isNumber);
    if (!isNumber || !(percentage >= 0 && percentage <= 100))
        return {};
    return percentage / 100;
}

} // namespace

std::optional<double> curlProgress(QStringView output)
{
    const QStringView completionScan = lastCharacters(output, completionScanCharacters);
    if (completionScan.contains(u'✅') || completionScan.contains(u'❌'))
        return {};
    static const QRegularExpression lineEnd(QStringLiteral("[\r\n]"));
    const QList<QStringView> lines = lastCharacters(output, progressScanCharacters).split(lineEnd);
    for (auto line = lines.rbegin(); line != lines.rend(); ++line)
        if (const auto fraction = meterFraction(*line))
            return fraction;
    return {};
}

TerminalOutput::TerminalOutput(QObject *parent)
    : QObject(parent)
{
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_refreshTimer, &QTimer::timeout, this, &TerminalOutput::refresh);
    refresh();
}

void TerminalOutput::append(QUtf8StringView text)
{
    if (text.isEmpty())
        return;
    const bool wasEmpty = isEmpty();
    m_text.append(text.data(), text.size());
    Q_EMIT appended(text);
    if (wasEmpty)
        Q_EMIT isEmptyChanged();
    if (!m_refreshTimer.isActive())
        m_refreshTimer.start(std::max(0ms, refreshInterval - milliseconds(m_sinceRefresh.elapsed())));
}

void TerminalOutput::clear()
{
    const bool wasEmpty = isEmpty();
    m_text.clear();
    m_refreshTimer.stop();
    refresh();
    if (!wasEmpty)
        Q_EMIT isEmptyChanged();
}

void TerminalOutput::refresh()
{
    m_sinceRefresh.start();
    if (isEmpty()) {
        m_displayText = QStringLiteral("等待输出...");
        m_progress.reset();
        Q_EMIT shownChanged();
        return;
    }
    QString end;
    QStringView shown;
    bool isWhole = false;
    for (qsizetype size = decodedBytes;; size *= 4) {
        const QByteArrayView bytes = lastBytes(m_text, size);
        end = withoutEscapes(QString::fromUtf8(bytes));
        shown = lastCharacters(end, shownCharacters);
        isWhole = bytes.size() == m_text.size();
        if (isWhole || shown.size() < end.size())
            break;
    }
    isWhole = isWhole && shown.size() == end.size();
    m_displayText = isWhole ? end : QStringLiteral("...\n") + shown.toString();
    m_progress = curlProgress(shown);
    Q_EMIT shownChanged();
}
