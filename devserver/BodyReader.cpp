#include "BodyReader.h"

#include <utility>

namespace devserver {

namespace {

QString complaint(const QString &key)
{
    return QStringLiteral("键 %1 未知、缺失或取值不对").arg(key);
}

} // namespace

BodyReader::BodyReader(const QByteArray &body)
    : m_object(JSON::parse(body.begin(), body.end(), nullptr, false))
{
    if (!m_object.is_object())
        m_error = QStringLiteral("请求体不是 JSON 对象");
}

std::optional<QString> BodyReader::text(const char *key)
{
    const JSON *const found = value(key);
    if (found && found->is_string())
        return QString::fromStdString(found->get<std::string>());
    if (found)
        fail(key);
    return {};
}

std::optional<qint64> BodyReader::integer(const char *key, qint64 least, qint64 most)
{
    const JSON *const found = value(key);
    if (!found)
        return {};
    const bool isTooLarge = found->is_number_unsigned() && !std::in_range<qint64>(found->get<quint64>());
    const qint64 number = found->is_number_integer() && !isTooLarge ? found->get<qint64>() : least - 1;
    if (number >= least && number <= most)
        return number;
    fail(key);
    return {};
}

std::optional<bool> BodyReader::flag(const char *key)
{
    const JSON *const found = value(key);
    if (found && found->is_boolean())
        return found->get<bool>();
    if (found)
        fail(key);
    return {};
}

void BodyReader::fail(const char *key)
{
    if (m_error.isEmpty())
        m_error = complaint(QString::fromUtf8(key));
}

QString BodyReader::error() const
{
    if (!m_error.isEmpty())
        return m_error;
    for (const auto &[key, value] : m_object.items()) {
        if (!m_known.contains(QByteArray::fromStdString(key)))
            return complaint(QString::fromStdString(key));
    }
    return {};
}

const JSON *BodyReader::value(const char *key)
{
    m_known.insert(key);
    const auto found = m_object.is_object() ? m_object.find(key) : m_object.end();
    return found == m_object.end() ? nullptr : &*found;
}

} // namespace devserver
