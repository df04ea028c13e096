#pragma once

#include "Models/AppVersionInfo.h"

#include <QCoroTask>
#include <QObject>
#include <expected>
#include <memory>
#include <optional>

class DownloadTask;
class UpdateCheckService;
struct DownloadError;

/// What the window knows of an update: whether one is looked for, the one that is offered, and how far it has
/// come. Interface thread only.
class UpdateViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isCheckingUpdate READ isCheckingUpdate NOTIFY isCheckingUpdateChanged)
    Q_PROPERTY(bool hasUpdate READ hasUpdate NOTIFY availableUpdateChanged)
    Q_PROPERTY(AppVersionInfo availableUpdate READ availableUpdate NOTIFY availableUpdateChanged)
    Q_PROPERTY(QString obstacle READ obstacle NOTIFY availableUpdateChanged)
    Q_PROPERTY(bool isDownloading READ isDownloading NOTIFY stateChanged)
    Q_PROPERTY(double downloadProgress READ downloadProgress NOTIFY downloadProgressChanged)
    Q_PROPERTY(bool isInstalling READ isInstalling NOTIFY stateChanged)
    Q_PROPERTY(QString installStep READ installStep NOTIFY installStepChanged)

public:
    /// Wired to the shared service.
    explicit UpdateViewModel(QObject *parent = nullptr);
    explicit UpdateViewModel(UpdateCheckService &service, QObject *parent = nullptr);
    ~UpdateViewModel() override;

    /// The check of the start: says nothing unless there is an update.
    QCoro::Task<> checkAtStart();
    /// The check that the user asked for, who is told also when there is none. Nothing while one is under way.
    QCoro::Task<> check();
    /// Puts the offered update off, unless it is mandatory or under way.
    void dismiss();

    /// Downloads the offered update and then installs it, which ends the application. Nothing while it is under way.
    void startDownload();
    /// Back to the offer at once; downloadFailed() follows. Nothing while nothing is downloaded.
    void cancelDownload();

    bool isCheckingUpdate() const { return m_isCheckingUpdate; } ///< at the user's request
    bool hasUpdate() const { return m_availableUpdate.has_value(); }
    AppVersionInfo availableUpdate() const { return m_availableUpdate.value_or(AppVersionInfo()); }
    /// Why this installation cannot take the update, as a Chinese sentence; empty when it can.
    QString obstacle() const;
    bool isDownloading() const { return m_downloadTask != nullptr; }
    double downloadProgress() const { return m_downloadProgress; } ///< from 0 to 1
    bool isInstalling() const { return m_isInstalling; }
    QString installStep() const { return m_installStep; } ///< empty before the first

Q_SIGNALS:
    void isCheckingUpdateChanged();
    void availableUpdateChanged();
    void stateChanged();
    void downloadProgressChanged();
    void installStepChanged();
    /// The check that the user asked for found nothing.
    void upToDate();
    // To be shown to the user.
    void downloadFailed(const QString &description);
    void updateFailed(const QString &description);

private:
    void offer(const std::optional<AppVersionInfo> &update);
    void finishDownload(int number, const std::expected<QString, DownloadError> &file);
    void install(const QString &file);
    void setDownloadProgress(double fraction);
    void setIsInstalling(bool isInstalling);
    void setInstallStep(const QString &step);

    UpdateCheckService &m_service;
    bool m_isCheckingUpdate = false;
    std::optional<AppVersionInfo> m_availableUpdate;
    int m_downloads = 0; ///< begun so far
    std::shared_ptr<DownloadTask> m_downloadTask; ///< null while nothing is downloaded
    double m_downloadProgress = 0;
    bool m_isInstalling = false;
    QString m_installStep;
};
