#include "FileError.h"

#include <cerrno>

static QString describe(int error, const QString &access)
{
    switch (error) {
    case ENOSPC:
        return QStringLiteral("磁盘空间不足");
    case EDQUOT:
        return QStringLiteral("超出磁盘配额");
    case EACCES:
    case EPERM:
        return QStringLiteral("没有%1权限").arg(access);
    case EROFS:
        return QStringLiteral("磁盘是只读的");
    case ENOTDIR:
    case EEXIST:
        return QStringLiteral("路径中有一级不是文件夹");
    case EWOULDBLOCK:
        return QStringLiteral("另一个程序一直占用着它");
    case EIO:
        return QStringLiteral("磁盘读写出错");
    case EISDIR:
        return QStringLiteral("该位置是一个文件夹");
    default:
        return qt_error_string(error);
    }
}

FileError FileError::notWritten(const QString &path, int error)
{
    return {QStringLiteral("无法写入 %1：%2").arg(path, describe(error, QStringLiteral("写入")))};
}

FileError FileError::notRead(const QString &path, int error)
{
    return {QStringLiteral("无法读取 %1：%2").arg(path, describe(error, QStringLiteral("读取")))};
}
