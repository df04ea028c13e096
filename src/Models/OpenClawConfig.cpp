#include "OpenClawConfig.h"

#include <algorithm>
#include <nlohmann/json.hpp>

QByteArray OpenClawConfig::toJSON() const
{
    const nlohmann::ordered_json json{{"port", port}, {"modelPath", modelPath.toStdString()}};
    return QByteArray::fromStdString(json.dump()).replace("/", "\\/");
}

std::optional<qint64> OpenClawConfig::portFromText(QStringView text)
{
    const bool hasSign = text.startsWith(u'+') || text.startsWith(u'-');
    const QStringView digits = hasSign ? text.sliced(1) : text;
    const auto isDigit = [](QChar character) { return character >= u'0' && character <= u'9'; };
    bool fits = false;
    const qint64 port = text.toLongLong(&fits);
    return fits && std::ranges::all_of(digits, isDigit) ? std::optional(port) : std::nullopt;
}
