#include "TerminalOutput.h"

#include "Utilities/Text.h"

#include <QRegularExpression>
#include <QString>
#include <ranges>
#include <vector>

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace {

/// Counted from one refresh to the next, so that steady output is drawn at a steady pace.
constexpr auto refreshInterval = 16ms;

constexpr qsizetype shownCharacters = 6000;
constexpr qsizetype progressScanCharacters = 400;
constexpr qsizetype completionScanCharacters = 100;
/// Room for the characters that are scanned, all but the longest.
constexpr qsizetype scannedBytes = 16 * progressScanCharacters;

/// So that dropping, which moves all that is kept, is done once in so many bytes.
constexpr qsizetype droppedAtOnce = 4 * 1024 * 1024;

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

/// What is left of a line whose every carriage return starts it anew, apart from those that end it.
QByteArrayView withoutOverwritten(QByteArrayView line)
{
    const qsizetype feed = line.endsWith('\n') ? 1 : 0;
    qsizetype end = line.size() - feed;
    while (end > 0 && line[end - 1] == '\r')
        --end;
    return line.first(end).sliced(line.first(end).lastIndexOf('\r') + 1);
}

/// The end of a text as a terminal would show it.
struct ShownEnd {
    QByteArray utf8;
    bool isWhole; ///< nothing stands before it
};

/// About `size` bytes, if there are as many. Looks no further back than it must.
ShownEnd shownEnd(QByteArrayView text, qsizetype size)
{
    const QByteArrayView end = lastBytes(text, size);
    if (!end.contains('\r'))
        return {end.toByteArray(), end.size() == text.size()};
    std::vector<QByteArrayView> pieces;
    bool isWhole = false;
    qsizetype left = size;
    qsizetype lineEnd = text.size();
    while (lineEnd > 0 && left > 0) {
        // The line feed that ends this line is not the one that is looked for.
        const qsizetype lineStart = text.first(lineEnd - 1).lastIndexOf('\n') + 1;
        const QByteArrayView line = withoutOverwritten(text.sliced(lineStart, lineEnd - lineStart));
        if (text[lineEnd - 1] == '\n')
            pieces.push_back("\n");
        pieces.push_back(lastBytes(line, left));
        isWhole = lineStart == 0 && line.size() <= left;
        left -= line.size() + 1;
        lineEnd = lineStart;
    }
    QByteArray utf8;
    for (const QByteArrayView piece : pieces | std::views::reverse)
        utf8.append(piece);
    return {utf8, isWhole};
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
    if (m_text.size() > keptBytes + droppedAtOnce)
        dropBeginning();
    Q_EMIT appended(text);
    if (wasEmpty)
        Q_EMIT isEmptyChanged();
    if (!m_refreshTimer.isActive())
        m_refreshTimer.start(std::max(0ms, refreshInterval - milliseconds(m_sinceRefresh.elapsed())));
}

void TerminalOutput::dropBeginning()
{
    m_text = lastBytes(m_text, keptBytes).toByteArray();
    m_isWhole = false;
}

void TerminalOutput::clear()
{
    const bool wasEmpty = isEmpty();
    m_text.clear();
    m_isWhole = true;
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
        const ShownEnd bytes = shownEnd(m_text, size);
        end = withoutEscapes(QString::fromUtf8(bytes.utf8));
        shown = lastCharacters(end, shownCharacters);
        isWhole = bytes.isWhole;
        if (isWhole || shown.size() < end.size())
            break;
    }
    isWhole = isWhole && m_isWhole && shown.size() == end.size();
    m_displayText = isWhole ? end : QStringLiteral("...\n") + shown.toString();
    // As it came: what a redrawn line said before is a part of it.
    m_progress = curlProgress(withoutEscapes(QString::fromUtf8(lastBytes(m_text, scannedBytes))));
    Q_EMIT shownChanged();
}
