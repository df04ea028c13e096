#pragma once

#include "Models/AppVersionInfo.h"
#include "Platform/DownloadTask.h"
#include "Platform/Folders.h"
#include "Platform/HTTPSession.h"
#include "UpdateInstallation.h"
#include "UpdateRecovery.h"

#include <QDateTime>
#include <QObject>
#include <functional>
#include <memory>

class Bundle;

/// Asks the update server whether there is a newer build of the application, downloads it and puts it in the
/// place of the running one. Interface thread only.
class UpdateCheckService : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isChecking READ isChecking NOTIFY isCheckingChanged)
    Q_PROPERTY(bool isDownloading READ isDownloading NOTIFY isDownloadingChanged)
    Q_PROPERTY(double downloadProgress READ downloadProgress NOTIFY downloadProgressChanged)

public:
    /// Tells the time; the server refuses requests whose time is minutes off.
    using TimeSource = std::function<QDateTime()>;

    /// What the service works with, besides the server and the running bundle.
    struct Environment {
        Folders folders;
        QString diskImageTool; ///< absolute path of an hdiutil
        TimeSource now = QDateTime::currentDateTimeUtc;
        /// Ends the application once the swap waits for it.
        std::function<void()> quit;
        HTTPSession::Limits checkLimits{.silence = std::chrono::seconds(30), .exchange = std::chrono::seconds(60)};
        /// Longest wait for a download's next bytes.
        std::chrono::milliseconds downloadSilence = std::chrono::seconds(60);
    };

    using ProgressHandler = std::function<void(double)>;
    using CompletionHandler = std::function<void(const DownloadOutcome &)>;
    using FailureHandler = std::function<void()>;

    static UpdateCheckService &shared();

    /// `baseURL` ends in "/api/v1", without a slash behind it. The bundle must outlive the service.
    UpdateCheckService(QString baseURL, const Bundle &bundle, Environment environment, QObject *parent = nullptr);

    /// A request is under way.
    bool isChecking() const { return m_checks > 0; }
    bool isDownloading() const { return m_isDownloading; }
    double downloadProgress() const { return m_downloadProgress; } ///< from 0 to 1

    /// The update that the server has for this build. None when there is none and when the check
    /// could not be made, which the log tells.
    QCoro::Task<std::optional<AppVersionInfo>> checkForUpdates();

    /// Why this installation cannot update itself, as a Chinese sentence; empty when it can.
    QString obstacle() const;

    /// Downloads the update's disk image into the user's Application Support folder, in the place of the one
    /// before. `progress` gets the share from 0 to 1, as far as the server tells the length; `completion` the
    /// file, which is of the size that the version tells. Null, after the completion, when the address is none.
    std::shared_ptr<DownloadTask> downloadUpdate(const AppVersionInfo &version, ProgressHandler progress,
                                                 CompletionHandler completion);

    /// Installs a downloaded image and ends the application, which then starts anew. Returns at once. Without an
    /// `expectedHash` the image is not verified; `expectedVersion` is what its program has to print when it is asked
    /// for its version. A failure calls `onFailure` and is told by updateFailed(); the running bundle is untouched
    /// then. `onProgress` gets a sentence for each step.
    void installUpdate(const QString &file, const QString &expectedHash, const QString &expectedVersion,
                       FailureHandler onFailure, UpdateInstallation::ProgressHandler onProgress);

    /// Remembers the updates that are begun.
    static UpdateRecovery recovery(const Folders &folders);

Q_SIGNALS:
    void isCheckingChanged();
    void isDownloadingChanged();
    void downloadProgressChanged();
    /// To be shown to the user: why the update was not installed.
    void updateFailed(const QString &description);

private:
    QCoro::Task<> install(QString file, QString expectedHash, QString expectedVersion, FailureHandler onFailure,
                          UpdateInstallation::ProgressHandler onProgress);
    QCoro::Task<std::expected<void, UpdateError>> executeUpdate(PreparedUpdate update);
    void showUpdateError(const UpdateError &error);
    std::optional<QUrl> downloadAddress(const QString &address) const;
    void finishDownload(const DownloadTask *task);
    void setIsDownloading(bool isDownloading);
    void setDownloadProgress(double fraction);
    QCoro::Task<std::optional<AppVersionInfo>> requestUpdate(qint64 build);
    std::optional<qint64> currentBuild() const;
    QHash<QByteArray, QByteArray> feeAuthHeaders() const;
    void countChecks(int change);

    const QString m_baseURL;
    const Bundle &m_bundle;
    const Environment m_environment;
    int m_checks = 0;
    std::shared_ptr<DownloadTask> m_downloadTask; ///< the one begun last
    bool m_isDownloading = false;
    double m_downloadProgress = 0;
    HTTPSession m_session;
};
