#pragma once

#include "Utilities/JSONReader.h"
#include "Utilities/Text.h"

#include <QObject>
#include <QUuid>

/// An update that can be had.
struct AppVersionInfo {
    Q_GADGET
    Q_PROPERTY(QString version MEMBER version CONSTANT)
    Q_PROPERTY(QString buildNumberText READ buildNumberText CONSTANT)
    Q_PROPERTY(QString releaseNotes MEMBER releaseNotes CONSTANT)
    Q_PROPERTY(QString fileSizeText READ fileSizeText CONSTANT)
    Q_PROPERTY(bool isMandatory MEMBER isMandatory CONSTANT)

public:
    QUuid id = QUuid::createUuid(); ///< tells two descriptors apart in lists, nothing more
    QString version; ///< as shown, for example "1.2.0"
    qint64 buildNumber = 0;
    QString releaseNotes;
    QString downloadURL; ///< of the disk image; may be a bare path on the update server
    qint64 fileSize = 0; ///< bytes of the image; 0 when the server does not say
    QString fileHash; ///< SHA-256 of the image in hexadecimal of either case; empty when the server does not say
    bool isMandatory = false; ///< cannot be postponed

    QString buildNumberText() const { return QString::number(buildNumber); }
    QString fileSizeText() const { return byteCountText(fileSize); }
    /// What the program of that build prints when it is asked for its version, without the line feed.
    QString versionLine() const { return QStringLiteral("Vaelix %1 (%2)").arg(version).arg(buildNumber); }
};

/// What the update server answers to a check. JSON keys are the field names in snake_case; only
/// "has_update" is required.
struct VersionCheckResponse {
    bool hasUpdate = false;
    std::optional<QString> message;
    std::optional<QString> latestVersion;
    std::optional<qint64> buildNumber;
    std::optional<QString> releaseNotes;
    std::optional<QString> downloadURL;
    std::optional<qint64> fileSize;
    std::optional<QString> fileHash;
    std::optional<bool> isMandatory;

    /// None without an update, or when its version or build number was not sent.
    std::optional<AppVersionInfo> versionInfo() const;
};

Decoded<VersionCheckResponse> decodeVersionCheck(JSONValue value);

/// The envelope of the update server's answers; unlike the account server's it need not say more than its code.
struct FeeResponse {
    qint64 code = 0; ///< 0 means success
    std::optional<QString> message;
    std::optional<VersionCheckResponse> data;
};

Decoded<FeeResponse> decodeFeeResponse(JSONValue value);
