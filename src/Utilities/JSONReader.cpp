#include "JSONReader.h"

namespace {

QString toQString(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

template<typename Native, typename T = Native> Decoded<T> decodeAs(JSONValue value, const QString &expectation)
{
    Native native;
    if (value.get(native) != simdjson::SUCCESS)
        return std::unexpected(DecodingError{expectation});
    if constexpr (std::is_same_v<Native, std::string_view>)
        return toQString(native);
    else
        return T(native);
}

} // namespace

Decoded<QString> decodeText(JSONValue value)
{
    return decodeAs<std::string_view, QString>(value, QStringLiteral("应为文本"));
}

Decoded<qint64> decodeInteger(JSONValue value)
{
    return decodeAs<int64_t, qint64>(value, QStringLiteral("应为整数"));
}

Decoded<double> decodeNumber(JSONValue value)
{
    return decodeAs<double>(value, QStringLiteral("应为数字"));
}

Decoded<bool> decodeBoolean(JSONValue value)
{
    return decodeAs<bool>(value, QStringLiteral("应为布尔值"));
}

Decoded<QStringList> decodeTexts(JSONValue value)
{
    return decodeArray(value, decodeText);
}

JSONReader::JSONReader(JSONValue object)
{
    if (object.get(m_object) != simdjson::SUCCESS)
        m_error = DecodingError{QStringLiteral("应为对象")};
    else
        m_next = m_object.begin();
}

std::optional<JSONValue> JSONReader::find(std::string_view key)
{
    if (m_error)
        return {};
    // Keys mostly come in the order they are asked for: look on from the last one found.
    const auto start = m_next;
    for (auto field = start; field != m_object.end(); ++field)
        if (field.key() == key) {
            m_next = std::next(field);
            return field.value().is_null() ? std::nullopt : std::optional(field.value());
        }
    for (auto field = m_object.begin(); field != start; ++field)
        if (field.key() == key)
            return field.value().is_null() ? std::nullopt : std::optional(field.value());
    return {};
}

std::optional<JSONValue> JSONReader::require(const char *key)
{
    const auto field = find(key);
    if (!field)
        fail(key, QStringLiteral("缺失"));
    return field;
}

void JSONReader::fail(const char *key, const QString &reason)
{
    if (!m_error)
        m_error = DecodingError{QStringLiteral("字段 “%1” %2").arg(QString::fromUtf8(key), reason)};
}

QString JSONReader::text(const char *key)
{
    return value(key, decodeText);
}

qint64 JSONReader::integer(const char *key)
{
    return value(key, decodeInteger);
}

std::optional<QString> JSONReader::optionalText(const char *key)
{
    return optionalValue(key, decodeText);
}

std::optional<double> JSONReader::optionalNumber(const char *key)
{
    return optionalValue(key, decodeNumber);
}
