#include "AppVersionInfo.h"

std::optional<AppVersionInfo> VersionCheckResponse::versionInfo() const
{
    if (!hasUpdate || !latestVersion || !buildNumber)
        return {};
    return AppVersionInfo{
        .version = *latestVersion,
        .buildNumber = *buildNumber,
        .releaseNotes = releaseNotes.value_or(QString()),
        .downloadURL = downloadURL.value_or(QString()),
        .fileSize = fileSize.value_or(0),
        .fileHash = fileHash.value_or(QString()),
        .isMandatory = isMandatory.value_or(false),
    };
}

Decoded<VersionCheckResponse> decodeVersionCheck(JSONValue value)
{
    JSONReader json(value);
    return json.result(VersionCheckResponse{
        .hasUpdate = json.value("has_update", decodeBoolean),
        .message = json.optionalText("message"),
        .latestVersion = json.optionalText("latest_version"),
        .buildNumber = json.optionalValue("build_number", decodeInteger),
        .releaseNotes = json.optionalText("release_notes"),
        .downloadURL = json.optionalText("download_url"),
        .fileSize = json.optionalValue("file_size", decodeInteger),
        .fileHash = json.optionalText("file_hash"),
        .isMandatory = json.optionalValue("is_mandatory", decodeBoolean),
    });
}

Decoded<FeeResponse> decodeFeeResponse(JSONValue value)
{
    JSONReader json(value);
    return json.result(FeeResponse{
        .code = json.integer("code"),
        .message = json.optionalText("message"),
        .data = json.optionalValue("data", decodeVersionCheck),
    });
}
