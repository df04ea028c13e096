#include "UpdateCheckService.h"

#include "Platform/Bundle.h"
#include "Platform/QuitApplication.h"
#include "Utilities/Deployment.h"
#include "Utilities/Log.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPointer>
#include <QProcess>
#include <QUrl>
#include <charconv>
#include <fcntl.h>
#include <openssl/evp.h>

using namespace std::chrono_literals;

namespace {

const QString apiPath = QStringLiteral("/api/v1");

const QByteArray productKey = QByteArrayLiteral("3de26c6ff0b451325df73a1545174b36");
// Its text is the key, not the bytes that it spells.
const QByteArray signingSecret = QByteArrayLiteral("d9b65650b5912129c535d15fe11ce815931197bea0664a07359f82dbeb9cf63b");

/// In hexadecimal; empty when OpenSSL has no HMAC to offer, which the server takes for a wrong signature.
QByteArray hmacSHA256(const QByteArray &key, const QByteArray &message)
{
    QByteArray mac(EVP_MAX_MD_SIZE, Qt::Uninitialized);
    std::size_t size = 0;
    const auto bytes = reinterpret_cast<const unsigned char *>(message.constData());
    EVP_Q_mac(nullptr, "HMAC", nullptr, "SHA256", nullptr, key.constData(), std::size_t(key.size()), bytes,
              std::size_t(message.size()), reinterpret_cast<unsigned char *>(mac.data()), std::size_t(mac.size()),
              &size);
    return mac.first(qsizetype(size)).toHex();
}

std::nullopt_t failed(const QString &reason)
{
    Log::line(QStringLiteral("⚠️ 检查更新失败: ") + reason);
    return std::nullopt;
}

std::optional<AppVersionInfo> readAnswer(const QByteArray &body)
{
    const auto answer = decodeJSON(body, decodeFeeResponse);
    if (!answer)
        return failed(answer.error().description);
    if (answer->code != 0 || !answer->data)
        return {};
    return answer->data->versionInfo();
}

QString updatesFolder(const Folders &folders)
{
    return folders.applicationSupport + QStringLiteral("/Vaelix/Updates");
}

QString diskImageTool()
{
    const QString systems = QStringLiteral("/usr/bin/hdiutil");
    return QFileInfo::exists(systems) ? systems : Bundle::main().helpersFolder() + QStringLiteral("/hdiutil");
}

/// For the swap script, which opens the bundle that it has put in place.
QProcessEnvironment scriptEnvironment(const Bundle &bundle, const PreparedUpdate &update)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    const QString path = environment.value(QStringLiteral("PATH"));
    environment.insert(QStringLiteral("PATH"), bundle.helpersFolder() + u':' + path);
    environment.insert(QStringLiteral("BASH_ENV"), update.moves);
    environment.remove(QStringLiteral("POSIXLY_CORRECT")); // bash would not read that then
    return environment;
}

/// Says what went wrong; empty when nothing did. The script runs on in a session of its own.
QString startScript(const PreparedUpdate &update, const QProcessEnvironment &environment)
{
    QProcess bash;
    bash.setProgram(QStringLiteral("/bin/bash"));
    bash.setArguments({update.script});
    bash.setProcessEnvironment(environment);
    bash.setStandardInputFile(QProcess::nullDevice());
    bash.setStandardOutputFile(QProcess::nullDevice());
    bash.setStandardErrorFile(QProcess::nullDevice());
    bash.setChildProcessModifier([lock = update.lock->descriptor()] { ::fcntl(lock, F_SETFD, 0); }); // holds it on
    return bash.startDetached() ? QString() : QStringLiteral("无法启动更新脚本：") + bash.errorString();
}

} // namespace

UpdateCheckService &UpdateCheckService::shared()
{
    static UpdateCheckService service(
        Deployment::updateOrigin() + apiPath, Bundle::main(),
        {.folders = Folders::user(), .diskImageTool = diskImageTool(), .quit = quitApplication});
    return service;
}

UpdateCheckService::UpdateCheckService(QString baseURL, const Bundle &bundle, Environment environment, QObject *parent)
    : QObject(parent)
    , m_baseURL(std::move(baseURL))
    , m_bundle(bundle)
    , m_environment(std::move(environment))
    , m_session(m_environment.checkLimits)
{
}

QCoro::Task<std::optional<AppVersionInfo>> UpdateCheckService::checkForUpdates()
{
    const auto build = currentBuild();
    if (!build) {
        Log::line(QStringLiteral("⚠️ 无法获取当前构建号"));
        co_return std::nullopt;
    }
    const QPointer self(this);
    countChecks(+1);
    auto update = co_await requestUpdate(*build);
    if (self)
        countChecks(-1);
    co_return update;
}

QCoro::Task<std::optional<AppVersionInfo>> UpdateCheckService::requestUpdate(qint64 build)
{
    const QUrl url(m_baseURL + QStringLiteral("/update/check?build_number=%1").arg(build), QUrl::StrictMode);
    if (!url.isValid())
        co_return std::nullopt;
    QNetworkRequest request(url);
    const auto headers = feeAuthHeaders();
    for (auto header = headers.begin(); header != headers.end(); ++header)
        request.setRawHeader(header.key(), header.value());
    const auto response = co_await m_session.send(request, "GET", {});
    if (!response)
        co_return failed(response.error().description);
    co_return readAnswer(response->body);
}

std::optional<qint64> UpdateCheckService::currentBuild() const
{
    QByteArray text = m_bundle.buildNumber().value_or(QString()).toUtf8();
    if (text.startsWith('+'))
        text.remove(0, 1);
    // Not QString's conversion: it would let white space pass.
    qint64 build = 0;
    const auto [end, error] = std::from_chars(text.cbegin(), text.cend(), build);
    const bool isNumber = error == std::errc() && end == text.cend();
    return isNumber && build >= 1 ? std::optional(build) : std::nullopt;
}

QHash<QByteArray, QByteArray> UpdateCheckService::feeAuthHeaders() const
{
    const QByteArray timestamp = QByteArray::number(m_environment.now().toSecsSinceEpoch());
    return {{"X-Product-Key", productKey},
            {"X-Timestamp", timestamp},
            {"X-Signature", hmacSHA256(signingSecret, productKey + timestamp)}};
}

void UpdateCheckService::countChecks(int change)
{
    const bool wasChecking = isChecking();
    m_checks += change;
    if (isChecking() != wasChecking)
        Q_EMIT isCheckingChanged();
}

QString UpdateCheckService::obstacle() const
{
    return UpdateInstallation::obstacle(m_bundle.path());
}

UpdateRecovery UpdateCheckService::recovery(const Folders &folders)
{
    return UpdateRecovery(updatesFolder(folders));
}

std::optional<QUrl> UpdateCheckService::downloadAddress(const QString &address) const
{
    if (address.isEmpty())
        return {};
    const QString origin = m_baseURL.chopped(apiPath.size());
    const QString path = address.startsWith(u'/') ? address : u'/' + address;
    const QUrl url(address.startsWith(QLatin1String("http")) ? address : origin + path, QUrl::StrictMode);
    return url.isValid() && !url.host().isEmpty() ? std::optional(url) : std::nullopt;
}

std::shared_ptr<DownloadTask> UpdateCheckService::downloadUpdate(const AppVersionInfo &version,
                                                                 ProgressHandler progress, CompletionHandler completion)
{
    const auto url = downloadAddress(version.downloadURL);
    if (!url) {
        const UpdateError error(UpdateError::Kind::FileNotFound);
        completion(std::unexpected(DownloadError{error.description()}));
        return {};
    }
    // The file holds a disk image; its name is that of every version.
    const QString destination = updatesFolder(m_environment.folders) + QStringLiteral("/update.zip");
    const std::shared_ptr<DownloadTask> task(new DownloadTask({.url = *url,
                                                               .destination = destination,
                                                               .size = version.fileSize,
                                                               .silence = m_environment.downloadSilence}),
                                             [](DownloadTask *finished) { finished->deleteLater(); });
    connect(task.get(), &DownloadTask::progressed, this, &UpdateCheckService::setDownloadProgress);
    connect(task.get(), &DownloadTask::progressed, task.get(), progress);
    connect(task.get(), &DownloadTask::completed, this, [this, task = task.get()] { finishDownload(task); });
    connect(task.get(), &DownloadTask::completed, task.get(), completion);
    m_downloadTask = task;
    setDownloadProgress(0);
    setIsDownloading(true);
    return task;
}

/// A task that another has followed has no say any more.
void UpdateCheckService::finishDownload(const DownloadTask *task)
{
    if (m_downloadTask.get() != task)
        return;
    m_downloadTask.reset();
    setIsDownloading(false);
}

void UpdateCheckService::installUpdate(const QString &file, const QString &expectedHash, const QString &expectedVersion,
                                       FailureHandler onFailure, UpdateInstallation::ProgressHandler onProgress)
{
    install(file, expectedHash, expectedVersion, std::move(onFailure), std::move(onProgress));
}

QCoro::Task<> UpdateCheckService::install(QString file, QString expectedHash, QString expectedVersion,
                                          FailureHandler onFailure, UpdateInstallation::ProgressHandler onProgress)
{
    const QPointer self(this);
    UpdateInstallation installation({.bundle = m_bundle.path(),
                                     .temporaryFolder = m_environment.folders.temporary,
                                     .diskImageTool = m_environment.diskImageTool,
                                     .recovery = recovery(m_environment.folders)},
                                    file, expectedHash, expectedVersion, onProgress);
    const auto abandoning = connect(qApp, &QCoreApplication::aboutToQuit, [&installation] { installation.abandon(); });
    const auto prepared = co_await installation.prepare();
    disconnect(abandoning);
    if (prepared && !self)
        co_return;
    std::expected<void, UpdateError> outcome;
    if (prepared)
        outcome = co_await executeUpdate(*prepared);
    else
        outcome = std::unexpected(prepared.error());
    if (outcome)
        co_return;
    Log::line(QStringLiteral("❌ 更新安装失败: ") + outcome.error().description());
    if (onFailure)
        onFailure();
    if (self)
        showUpdateError(outcome.error());
}

QCoro::Task<std::expected<void, UpdateError>> UpdateCheckService::executeUpdate(PreparedUpdate update)
{
    const QPointer self(this);
    const UpdateRecovery swaps = recovery(m_environment.folders);
    const auto recorded = co_await swaps.expectSwap(m_bundle.path(), update.newBundle, update.temporaryFolder);
    if (!recorded)
        co_return std::unexpected(UpdateError::other(recorded.error().description));
    if (!self)
        co_return {};
    if (const QString reason = startScript(update, scriptEnvironment(m_bundle, update)); !reason.isEmpty())
        co_return std::unexpected(UpdateError::other(reason));
    Log::line(QStringLiteral("🔄 更新脚本已启动，正在退出当前应用..."));
    m_environment.quit();
    co_return {};
}

void UpdateCheckService::showUpdateError(const UpdateError &error)
{
    Q_EMIT updateFailed(error.description());
}

void UpdateCheckService::setIsDownloading(bool isDownloading)
{
    if (std::exchange(m_isDownloading, isDownloading) != isDownloading)
        Q_EMIT isDownloadingChanged();
}

void UpdateCheckService::setDownloadProgress(double fraction)
{
    if (!qFuzzyCompare(1 + std::exchange(m_downloadProgress, fraction), 1 + fraction))
        Q_EMIT downloadProgressChanged();
}
