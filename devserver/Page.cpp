#include "Page.h"

#include <QFile>

namespace devserver {

namespace {

QByteArray embedded(const QString &name)
{
    QFile file(QStringLiteral(":/devserver/pages/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no embedded page %s", qPrintable(name));
    return file.readAll();
}

QByteArray valueOf(const QByteArray &key, const QMap<QByteArray, HTML> &values)
{
    const auto value = values.constFind(key);
    if (value == values.cend())
        qFatal("no value for {{%s}}", key.constData());
    return value->markup;
}

} // namespace

HTML escaped(const QString &text)
{
    return {text.toHtmlEscaped().toUtf8()};
}

HTML filled(const QString &name, const QMap<QByteArray, HTML> &values)
{
    const QByteArray text = embedded(name);
    QByteArray result;
    qsizetype done = 0;
    for (qsizetype open; (open = text.indexOf("{{", done)) >= 0;) {
        const qsizetype close = text.indexOf("}}", open);
        result += text.sliced(done, open - done) + valueOf(text.sliced(open + 2, close - open - 2), values);
        done = close + 2;
    }
    return {result + text.sliced(done)};
}

Response page(int status, const HTML &content, const HTML &head)
{
    const HTML style{embedded(QStringLiteral("Style.css"))};
    return {.status = status,
            .body =
                filled(QStringLiteral("Frame.html"), {{"head", head}, {"style", style}, {"content", content}}).markup,
            .contentType = "text/html; charset=utf-8",
            .headers = {{"Cache-Control", "no-store"}}};
}

Response errorPage(int status, const QString &message)
{
    return page(status, filled(QStringLiteral("Error.html"), {{"message", escaped(message)}}));
}

} // namespace devserver
