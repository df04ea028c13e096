#include "DownloadDelegate.h"

#include "FileError.h"
#include "HTTPSession.h"

#include <QFileInfo>
#include <QNetworkReply>
#include <cerrno>
#include <filesystem>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int transferTimeout = 60'000; // milliseconds
constexpr int lowPriority = 10;
constexpr qint64 pieceSize = 256 * 1024;
constexpr double leastProgress = 0.001; // less cannot be seen
constexpr qint64 mostWaitingBytes = 8 * pieceSize; // for a disk slower than the network

} // namespace

DownloadDelegate::DownloadDelegate(QString destination, ProgressHandler progressHandler,
                                   CompletionHandler completionHandler)
    : m_destination(std::move(destination))
    , m_progressHandler(std::move(progressHandler))
    , m_completionHandler(std::move(completionHandler))
    , m_file(m_destination + QStringLiteral(".XXXXXX"))
{
}

void DownloadDelegate::start(const QUrl &url)
{
    // The window comes first; the threads that are made from here are no more important.
    ::setpriority(PRIO_PROCESS, id_t(::gettid()), lowPriority);
    std::error_code error;
    std::filesystem::create_directories(QFileInfo(m_destination).absolutePath().toStdString(), error);
    if (error)
        return complete(
            std::unexpected(DownloadError{FileError::notWritten(m_destination, error.value()).description}));
    errno = 0;
    if (!m_file.open())
        return complete(std::unexpected(DownloadError{FileError::notWritten(m_destination, errno).description}));
    QNetworkRequest request(url);
    request.setTransferTimeout(transferTimeout);
    m_reply = m_manager.get(request);
    m_reply->setReadBufferSize(mostWaitingBytes);
    connect(m_reply, &QNetworkReply::readyRead, this, &DownloadDelegate::receive);
    connect(m_reply, &QNetworkReply::finished, this, &DownloadDelegate::finish);
}

void DownloadDelegate::cancel()
{
    fail(QStringLiteral("已取消"));
}

void DownloadDelegate::receive()
{
    while (m_failure.isEmpty() && m_reply->bytesAvailable() > 0) {
        const QByteArray piece = m_reply->read(pieceSize);
        errno = 0;
        if (m_file.write(piece) != piece.size() || !m_file.flush())
            return fail(FileError::notWritten(m_destination, errno).description);
        m_received += piece.size();
    }
    reportProgress();
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
    if (!failure())
        receive(); // what came with the end
    if (const auto reason = failure())
        return complete(std::unexpected(DownloadError{*reason}));
    if (const QString reason = moveToDestination(); !reason.isEmpty())
        return complete(std::unexpected(DownloadError{reason}));
    complete(m_destination);
}

void DownloadDelegate::fail(const QString &reason)
{
    if (!m_reply || m_reply->isFinished() || !m_failure.isEmpty())
        return;
    m_failure = reason;
    m_reply->abort();
}

std::optional<QString> DownloadDelegate::failure() const
{
    if (!m_failure.isEmpty())
        return m_failure;
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status >= 400)
        return QStringLiteral("服务器返回错误（HTTP %1）").arg(status);
    return m_reply->error() == QNetworkReply::NoError ? std::nullopt : std::optional(describeFailure(*m_reply));
}

/// Says what went wrong; empty when nothing did.
QString DownloadDelegate::moveToDestination()
{
    std::error_code error;
    std::filesystem::rename(m_file.fileName().toStdString(), m_destination.toStdString(), error);
    if (error)
        return FileError::notWritten(m_destination, error.value()).description;
    m_file.setAutoRemove(false);
    return {};
}

void DownloadDelegate::complete(const DownloadOutcome &outcome)
{
    std::exchange(m_completionHandler, {})(outcome);
}
