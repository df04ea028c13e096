#pragma once

#include <QByteArrayView>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <expected>
#include <optional>
#include <simdjson.h>
#include <type_traits>

/// Why a JSON text did not become a record: a Chinese sentence that names the place.
struct DecodingError {
    QString description;
};

template<typename T> using Decoded = std::expected<T, DecodingError>;

using JSONValue = simdjson::dom::element;

/// Reads the fields of one JSON object strictly by type: a number is no text, `true` and 1.5 are
/// no integers. The first failure is kept and later reads give empty values, so that a record is
/// read field by field and checked once at the end with result().
class JSONReader
{
public:
    explicit JSONReader(JSONValue object);

    QString text(const char *key);
    qint64 integer(const char *key);
    /// What `decode`, a callable from JSONValue to Decoded<T>, makes of the field.
    template<typename Decode> auto value(const char *key, Decode decode) { return decoded(key, require(key), decode); }

    // To the optional forms null is the same as a key that is not there.
    std::optional<QString> optionalText(const char *key);
    std::optional<double> optionalNumber(const char *key);
    template<typename Decode> auto optionalValue(const char *key, Decode decode)
    {
        const auto field = find(key);
        return field ? std::optional(decoded(key, field, decode)) : std::nullopt;
    }

    /// The record, or the first failure.
    template<typename T> Decoded<T> result(T record) const
    {
        if (m_error)
            return std::unexpected(*m_error);
        return record;
    }

private:
    std::optional<JSONValue> find(std::string_view key);
    std::optional<JSONValue> require(const char *key);
    void fail(const char *key, const QString &reason);

    template<typename Decode> auto decoded(const char *key, std::optional<JSONValue> field, Decode decode)
    {
        using Record = typename std::invoke_result_t<Decode, JSONValue>::value_type;
        if (!field)
            return Record();
        auto record = decode(*field);
        if (!record) {
            fail(key, record.error().description);
            return Record();
        }
        return std::move(*record);
    }

    simdjson::dom::object m_object;
    simdjson::dom::object::iterator m_next;
    std::optional<DecodingError> m_error;
};

Decoded<QString> decodeText(JSONValue value);
Decoded<qint64> decodeInteger(JSONValue value);
Decoded<double> decodeNumber(JSONValue value);
Decoded<bool> decodeBoolean(JSONValue value);

/// Decodes an array whose every element must decode.
template<typename Decode> auto decodeArray(JSONValue value, Decode decodeElement)
{
    using Element = typename std::invoke_result_t<Decode, JSONValue>::value_type;
    using Result = Decoded<QList<Element>>;
    simdjson::dom::array array;
    if (value.get(array) != simdjson::SUCCESS)
        return Result(std::unexpect, QStringLiteral("应为数组"));
    QList<Element> list;
    list.reserve(qsizetype(array.size()));
    for (const JSONValue element : array) {
        auto record = decodeElement(element);
        if (!record) {
            const QString place = QStringLiteral("第 %1 项：%2").arg(list.size() + 1).arg(record.error().description);
            return Result(std::unexpect, place);
        }
        list.append(std::move(*record));
    }
    return Result(std::move(list));
}

Decoded<QStringList> decodeTexts(JSONValue value);

/// Decodes an object as a map whose every value must decode.
template<typename Decode> auto decodeMap(JSONValue value, Decode decodeValue)
{
    using Record = typename std::invoke_result_t<Decode, JSONValue>::value_type;
    using Result = Decoded<QHash<QString, Record>>;
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS)
        return Result(std::unexpect, QStringLiteral("应为对象"));
    QHash<QString, Record> map;
    for (const auto &[key, element] : object) {
        const QString name = QString::fromUtf8(key.data(), qsizetype(key.size()));
        auto record = decodeValue(element);
        if (!record)
            return Result(std::unexpect, QStringLiteral("“%1”：%2").arg(name, record.error().description));
        map.insert(name, std::move(*record));
    }
    return Result(std::move(map));
}

/// Parses a whole JSON text and hands its value to `decode`.
template<typename Decode> auto decodeJSON(QByteArrayView json, Decode decode) -> std::invoke_result_t<Decode, JSONValue>
{
    simdjson::dom::parser parser;
    JSONValue value;
    const char *const text = json.isEmpty() ? "" : json.data(); // never null, which the parser would copy from
    if (const auto error = parser.parse(text, std::size_t(json.size())).get(value))
        return std::unexpected(DecodingError{
            QStringLiteral("不是有效的 JSON（%1）").arg(QString::fromUtf8(simdjson::error_message(error)))});
    return decode(value);
}
