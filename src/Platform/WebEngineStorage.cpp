#include "WebEngineStorage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <cstdio>

void WebEngineStorage::remove()
{
    for (const auto location : {QStandardPaths::AppDataLocation, QStandardPaths::CacheLocation})
        removeFrom(QStandardPaths::writableLocation(location));
}

void WebEngineStorage::removeFrom(const QString &applicationFolder)
{
    const QString path = applicationFolder + QStringLiteral("/QtWebEngine");
    const QFileInfo folder(path);
    if (applicationFolder.isEmpty() || (!folder.exists() && !folder.isSymLink()))
        return;
    const bool isRemoved = folder.isSymLink() ? QFile::remove(path) : QDir(path).removeRecursively();
    if (!isRemoved)
        std::fprintf(stderr, "无法删除旧的网页数据: %s\n", qUtf8Printable(path));
}
