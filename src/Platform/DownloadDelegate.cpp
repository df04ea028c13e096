#include "DownloadDelegate.h"

#include "FileError.h"
#include "HTTPSession.h"
#include "Utilities/Text.h"

#include <QFileInfo>
#include <QNetworkReply>
#include <cerrno>
#include <filesystem>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int lowPriority = 10;
constexpr qint64 pieceSize = 256 * 1024;
constexpr double leastProgress = 0.001; // less cannot be seen
constexpr qint64 mostWaitingBytes = 8 * pieceSize; // for a disk slower than the network
constexpr qint64 mostBytes = 2LL * 1024 * 1024 * 1024;

QString differentSize(const QString &reason)
{
    return QStringLiteral("下载的文件与公布的大小不符：") + reason;
}

} // namespace

DownloadDelegate::DownloadDelegate(DownloadRequest request, ProgressHandler progressHandler,
                                   CompletionHandler completionHandler)
    : m_request(std::move(request))
    , m_progressHandler(std::move(progressHandler))
    , m_completionHandler(std::move(completionHandler))
    , m_file(m_request.destination + QStringLiteral(".XXXXXX"))
{
}

void DownloadDelegate::start()
{
    // The window comes first; the threads that are made from here are no more important.
    ::setpriority(PRIO_PROCESS, id_t(::gettid()), lowPriority);
    std::error_code error;
    std::filesystem::create_directories(QFileInfo(m_request.destination).absolutePath().toStdString(), error);
    if (error)
        return complete(
            std::unexpected(DownloadError{FileError::notWritten(m_request.destination, error.value()).description}));
    errno = 0;
    if (!m_file.open())
        return complete(
            std::unexpected(DownloadError{FileError::notWritten(m_request.destination, errno).description}));
    QNetworkRequest request(m_request.url);
    request.setTransferTimeout(int(m_request.silence.count()));
    request.setRawHeader("Accept-Encoding", "identity"); // the length sent is that of the file
    m_reply = m_manager.get(request);
    m_reply->setReadBufferSize(mostWaitingBytes);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &DownloadDelegate::checkHead);
    connect(m_reply, &QNetworkReply::readyRead, this, &DownloadDelegate::receive);
    connect(m_reply, &QNetworkReply::finished, this, &DownloadDelegate::finish);
}

void DownloadDelegate::cancel()
{
    fail(QStringLiteral("已取消"));
}

/// A length that is wrong need not be waited for.
void DownloadDelegate::checkHead()
{
    if (statusFailure())
        return; // or a redirection that is followed
    const qint64 length = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    if (m_request.size > 0 && length > 0 && length != m_request.size)
        fail(differentSize(QStringLiteral("应为 %1 字节，服务器提供 %2 字节").arg(m_request.size).arg(length)));
}

void DownloadDelegate::receive()
{
    while (m_failure.isEmpty() && m_reply->bytesAvailable() > 0) {
        const QByteArray piece = m_reply->read(pieceSize);
        errno = 0;
        if (m_file.write(piece) != piece.size() || !m_file.flush())
            return fail(FileError::notWritten(m_request.destination, errno).description);
        m_received += piece.size();
        if (const auto reason = excess())
            return fail(*reason);
    }
    reportProgress();
}

std::optional<QString> DownloadDelegate::excess() const
{
    if (const auto reason = statusFailure())
        return m_received > pieceSize ? reason : std::nullopt; // a short one ends by itself
    if (m_request.size > 0 && m_received > m_request.size)
        return differentSize(QStringLiteral("应为 %1 字节，收到的更多").arg(m_request.size));
    if (m_request.size <= 0 && m_received > mostBytes)
        return QStringLiteral("下载的文件过大（超过 %1）").arg(byteCountText(mostBytes));
    return {};
}

void DownloadDelegate::reportProgress()
{
    const qint64 expected = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    if (expected < 1)
        return;
    const double share = std::min(1.0, double(m_received) / double(expected));
    if (share < m_reported + leastProgress && (share < 1 || m_reported == 1))
        return;
    m_reported = share;
    m_progressHandler(share);
}

void DownloadDelegate::finish()
{
    if (!failure()) {
        receive(); // what came with the end
        if (m_received < m_request.size)
            fail(differentSize(QStringLiteral("应为 %1 字节，只收到 %2 字节").arg(m_request.size).arg(m_received)));
    }
    if (const auto reason = failure())
        return complete(std::unexpected(DownloadError{*reason}));
    if (const QString reason = moveToDestination(); !reason.isEmpty())
        return complete(std::unexpected(DownloadError{reason}));
    complete(m_request.destination);
}

void DownloadDelegate::fail(const QString &reason)
{
    if (!m_reply || !m_failure.isEmpty())
        return;
    m_failure = reason;
    m_reply->abort();
}

std::optional<QString> DownloadDelegate::failure() const
{
    if (!m_failure.isEmpty())
        return m_failure;
    const auto error = m_reply->error();
    const auto reason = statusFailure();
    const bool isOfStatus = reason && error >= QNetworkReply::ContentAccessDenied;
    return error == QNetworkReply::NoError || isOfStatus ? reason : std::optional(describeFailure(*m_reply));
}

std::optional<QString> DownloadDelegate::statusFailure() const
{
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status == 0 || (status >= 200 && status <= 299))
        return {};
    return QStringLiteral("服务器返回错误（HTTP %1）").arg(status);
}

/// Says what went wrong; empty when nothing did.
QString DownloadDelegate::moveToDestination()
{
    std::error_code error;
    std::filesystem::rename(m_file.fileName().toStdString(), m_request.destination.toStdString(), error);
    if (error)
        return FileError::notWritten(m_request.destination, error.value()).description;
    m_file.setAutoRemove(false);
    return {};
}

void DownloadDelegate::complete(const DownloadOutcome &outcome)
{
    std::exchange(m_completionHandler, {})(outcome);
}
