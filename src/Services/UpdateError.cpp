#include "UpdateError.h"

UpdateError UpdateError::other(const QString &reason)
{
    UpdateError error(Kind::Other);
    error.m_reason = reason;
    return error;
}

QString UpdateError::description() const
{
    switch (m_kind) {
    case Kind::HashMismatch:
        return QStringLiteral("更新包哈希验证失败，文件可能已损坏");
    case Kind::ExtractFailed:
        return QStringLiteral("解压更新包失败");
    case Kind::NoAppFound:
        return QStringLiteral("更新包中未找到应用程序");
    case Kind::FileNotFound:
        return QStringLiteral("更新文件不存在");
    case Kind::FileReadError:
        return QStringLiteral("读取更新文件失败");
    case Kind::Other:
        break;
    }
    return m_reason;
}
