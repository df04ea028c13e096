#include "UpdateViewModel.h"

#include "Services/UpdateCheckService.h"

#include <QPointer>

UpdateViewModel::UpdateViewModel(QObject *parent)
    : UpdateViewModel(UpdateCheckService::shared(), parent)
{
}

UpdateViewModel::UpdateViewModel(UpdateCheckService &service, QObject *parent)
    : QObject(parent)
    , m_service(service)
{
    connect(&m_service, &UpdateCheckService::updateFailed, this, &UpdateViewModel::updateFailed);
}

UpdateViewModel::~UpdateViewModel() = default;

QCoro::Task<> UpdateViewModel::checkAtStart()
{
    const QPointer self(this);
    const auto update = co_await m_service.checkForUpdates();
    if (self)
        offer(update);
}

QCoro::Task<> UpdateViewModel::check()
{
    if (m_isCheckingUpdate)
        co_return;
    const QPointer self(this);
    m_isCheckingUpdate = true;
    Q_EMIT isCheckingUpdateChanged();
    const auto update = co_await m_service.checkForUpdates();
    if (!self)
        co_return;
    m_isCheckingUpdate = false;
    Q_EMIT isCheckingUpdateChanged();
    offer(update);
    if (!update)
        Q_EMIT upToDate();
}

/// An update that is offered already stays until it is put off.
void UpdateViewModel::offer(const std::optional<AppVersionInfo> &update)
{
    if (!update || m_availableUpdate)
        return;
    m_availableUpdate = update;
    Q_EMIT availableUpdateChanged();
}

void UpdateViewModel::dismiss()
{
    if (!m_availableUpdate || m_availableUpdate->isMandatory || isDownloading() || m_isInstalling)
        return;
    m_availableUpdate.reset();
    Q_EMIT availableUpdateChanged();
}

QString UpdateViewModel::obstacle() const
{
    return m_service.obstacle();
}

void UpdateViewModel::startDownload()
{
    if (!m_availableUpdate || isDownloading() || m_isInstalling)
        return;
    setDownloadProgress(0);
    const QPointer self(this);
    const auto number = ++m_downloads; // what a cancelled one still tells is not about the one that followed it
    m_downloadTask = m_service.downloadUpdate(
        *m_availableUpdate,
        [self, number](double fraction) {
            if (self && self->m_downloads == number && self->isDownloading())
                self->setDownloadProgress(fraction);
        },
        [self, number](const DownloadOutcome &file) {
            if (self)
                self->finishDownload(number, file);
        });
    Q_EMIT stateChanged();
}

void UpdateViewModel::cancelDownload()
{
    const auto task = std::exchange(m_downloadTask, nullptr);
    if (!task)
        return;
    task->cancel();
    setDownloadProgress(0);
    Q_EMIT stateChanged();
}

/// A download that was cancelled, or that another has followed, is not installed.
void UpdateViewModel::finishDownload(int number, const DownloadOutcome &file)
{
    const bool isCurrent = number == m_downloads && m_downloadTask;
    if (isCurrent) {
        m_downloadTask.reset();
        Q_EMIT stateChanged();
    }
    if (!file)
        Q_EMIT downloadFailed(file.error().description);
    else if (isCurrent)
        install(*file);
}

void UpdateViewModel::install(const QString &file)
{
    setInstallStep({});
    setIsInstalling(true);
    const QPointer self(this);
    m_service.installUpdate(
        file, m_availableUpdate->fileHash, m_availableUpdate->versionLine(),
        [self] {
            if (self)
                self->setIsInstalling(false);
        },
        [self](const QString &step) {
            if (self)
                self->setInstallStep(step);
        });
}

void UpdateViewModel::setDownloadProgress(double fraction)
{
    m_downloadProgress = fraction;
    Q_EMIT downloadProgressChanged();
}

void UpdateViewModel::setIsInstalling(bool isInstalling)
{
    m_isInstalling = isInstalling;
    Q_EMIT stateChanged();
}

void UpdateViewModel::setInstallStep(const QString &step)
{
    m_installStep = step;
    Q_EMIT installStepChanged();
}
