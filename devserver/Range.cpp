#include "Range.h"

#include <QRegularExpression>
#include <algorithm>
#include <optional>

namespace devserver {

namespace {

/// The first byte and the one behind the last.
struct Span {
    qint64 begin;
    qint64 end;
};

/// Nothing when the header cannot be read. An empty span lies behind the end.
std::optional<Span> readRange(const QByteArray &header, qint64 size)
{
    static const QRegularExpression pattern(QStringLiteral("^bytes=([0-9]{0,18})-([0-9]{0,18})$"));
    const auto match = pattern.match(QString::fromLatin1(header));
    const QString first = match.captured(1);
    const QString last = match.captured(2);
    if (!match.hasMatch() || (first.isEmpty() && last.isEmpty()))
        return {};
    if (first.isEmpty())
        return Span{std::max<qint64>(size - last.toLongLong(), 0), size};
    if (!last.isEmpty() && last.toLongLong() < first.toLongLong())
        return {};
    return Span{first.toLongLong(), last.isEmpty() ? size : std::min(last.toLongLong() + 1, size)};
}

} // namespace

Response rangeOf(Response whole, const QByteArray &tag, const Request &request)
{
    const qint64 size = whole.body.size();
    whole.headers += {{"Accept-Ranges", "bytes"}, {"ETag", tag}};
    const QByteArray condition = request.header("If-Range");
    const auto span = readRange(request.header("Range"), size);
    if (!span || (!condition.isEmpty() && condition != tag))
        return whole;
    const QByteArray total = QByteArray::number(size);
    if (span->begin >= span->end)
        return {.status = 416, .headers = {{"Content-Range", "bytes */" + total}}};
    const QByteArray place = QByteArray::number(span->begin) + '-' + QByteArray::number(span->end - 1);
    whole.headers.append({"Content-Range", "bytes " + place + '/' + total});
    whole.status = 206;
    whole.body = whole.body.sliced(span->begin, span->end - span->begin);
    return whole;
}

} // namespace devserver
