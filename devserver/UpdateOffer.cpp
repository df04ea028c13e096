#include "UpdateOffer.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

namespace devserver {

std::expected<void, QString> UpdateOffer::setFile(const QString &name)
{
    QFile image(name);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!image.open(QIODevice::ReadOnly) || !hash.addData(&image))
        return std::unexpected(QStringLiteral("无法读取更新镜像 %1：%2")
                                   .arg(name, image.exists() ? image.errorString() : QStringLiteral("文件不存在")));
    file = QFileInfo(name).absoluteFilePath();
    fileSize = image.size();
    fileHash = QString::fromLatin1(hash.result().toHex());
    return {};
}

} // namespace devserver
