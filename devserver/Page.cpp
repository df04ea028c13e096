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

Response document(int status, const HTML &whole)
{
    return {.status = status,
            .body = whole.markup,
            .contentType = "text/html; charset=utf-8",
            .headers = {{"Cache-Control", "no-store"}}};
}

Response page(int status, const QString &title, const HTML &content, const HTML &head)
{
    const HTML style{embedded(QStringLiteral("Style.css"))};
    return document(status,
                    filled(QStringLiteral("Frame.html"),
                           {{"title", escaped(title)}, {"head", head}, {"style", style}, {"content", content}}));
}

Response errorPage(int status, const QString &title, const QString &message)
{
    return page(status, title,
                filled(QStringLiteral("Error.html"), {{"title", escaped(title)}, {"message", escaped(message)}}));
}

Response redirect(int status, const QString &address)
{
    return {.status = status, .contentType = "text/html; charset=utf-8", .headers = {{"Location", address.toUtf8()}}};
}

} // namespace devserver
