#include "Form.h"

namespace devserver {

namespace {

QString decoded(QByteArray text)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(text.replace('+', ' ')));
}

} // namespace

Fields readFields(const QByteArray &encoded)
{
    Fields fields;
    for (const QByteArray &item : encoded.split('&')) {
        const qsizetype equals = item.indexOf('=');
        const QString name = decoded(item.left(equals));
        if (equals >= 0 && !fields.contains(name))
            fields.insert(name, decoded(item.sliced(equals + 1)));
    }
    return fields;
}

bool isForm(const Request &request)
{
    const QByteArray type = request.header("Content-Type").split(';').first().trimmed();
    return type.compare("application/x-www-form-urlencoded", Qt::CaseInsensitive) == 0;
}

} // namespace devserver
