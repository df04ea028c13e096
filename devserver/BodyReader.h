#pragma once

#include "HTTPMessage.h"
#include "Named.h"

#include <QSet>
#include <optional>

namespace devserver {

/// Reads a JSON object key by key. Reading goes on after something wrong; `error()` then says what it was.
class BodyReader
{
public:
    explicit BodyReader(const QByteArray &body);

    // The value under a key, nothing when there is none. One of another kind or out of range is wrong.
    std::optional<QString> text(const char *key);
    std::optional<qint64> integer(const char *key, qint64 least, qint64 most);
    std::optional<bool> flag(const char *key);
    template<typename T, std::size_t N> std::optional<T> choice(const char *key, const std::array<Named<T>, N> &choices)
    {
        const auto name = text(key);
        const auto found = std::ranges::find(choices, name.value_or(QString()).toStdString(), &Named<T>::name);
        if (found != choices.end())
            return found->value;
        if (name)
            fail(key);
        return {};
    }

    /// Says that the key is missing or its value is of no use.
    void fail(const char *key);

    /// The first thing wrong, as a Chinese sentence; empty when all is well. A key that nobody asked for is wrong.
    QString error() const;

private:
    const JSON *value(const char *key);

    JSON m_object;
    QSet<QByteArray> m_known;
    QString m_error;
};

} // namespace devserver
