#include "OpenClawConfig.h"

#include <nlohmann/json.hpp>

QByteArray OpenClawConfig::toJSON() const
{
    const nlohmann::ordered_json json{{"port", port}, {"modelPath", modelPath.toStdString()}};
    return QByteArray::fromStdString(json.dump()).replace("/", "\\/");
}
