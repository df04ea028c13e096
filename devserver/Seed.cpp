#include "Seed.h"

#include <QFile>

namespace devserver {

QString embeddedCatalog()
{
    return QStringLiteral(":/devserver/SoftwareCatalog.json");
}

std::expected<ServerState, QString> readSeed(const QString &catalogFile)
{
    QFile file(catalogFile);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(
            QStringLiteral("无法读取目录文件 %1：%2")
                .arg(catalogFile, file.exists() ? file.errorString() : QStringLiteral("文件不存在")));
    const QByteArray text = file.readAll();
    JSON catalog = JSON::parse(text.begin(), text.end(), nullptr, false);
    if (!catalog.is_array())
        return std::unexpected(QStringLiteral("目录文件 %1 不是 JSON 数组").arg(catalogFile));
    return ServerState{.catalog = std::move(catalog)};
}

} // namespace devserver
