#pragma once

#include "HTTPMessage.h"

#include <expected>

namespace devserver {

/// The update that the update server has to offer.
struct UpdateOffer {
    QString version = QStringLiteral("1.1.0");
    qint64 build = 100;
    QString notes = QStringLiteral("• 仪表盘显示近 7 天的 Token 用量\n• 安装与升级更稳定\n• 修复若干问题");
    bool isMandatory = false;
    QString file; // the disk image; without one the offer names no download
    qint64 fileSize = 0;
    QString fileHash; // SHA-256 in hexadecimal
    QString url = QStringLiteral("/downloads/Vaelix.dmg");
    Delivery delivery; // of the image

    /// Takes this disk image into the offer. The error is a Chinese sentence; nothing has changed then.
    std::expected<void, QString> setFile(const QString &name);
};

} // namespace devserver
