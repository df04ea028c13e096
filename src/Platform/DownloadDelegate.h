#pragma once

#include <QNetworkAccessManager>
#include <QTemporaryFile>
#include <QUrl>
#include <chrono>
#include <expected>
#include <functional>
#include <optional>

class QNetworkReply;

/// What is downloaded, and where to.
struct DownloadRequest {
    QUrl url;
    QString destination; ///< a file; its folder is made
    qint64 size = 0; ///< bytes it must have; 0 when that is not known
    std::chrono::milliseconds silence = std::chrono::seconds(60); ///< longest wait for the next bytes
};

/// A download that failed: a Chinese sentence saying why.
struct DownloadError {
    QString description;

    bool operator==(const DownloadError &) const = default;
};

/// The path of the file that was downloaded, or why there is none.
using DownloadOutcome = std::expected<QString, DownloadError>;

/// Takes what one HTTP download brings into a file. Lives on a thread of its own, so that neither a slow disk
/// nor a fast network holds up the interface; DownloadTask is its handle there.
class DownloadDelegate : public QObject
{
    Q_OBJECT

public:
    // Both are called on the delegate's thread.
    using ProgressHandler = std::function<void(double)>;
    using CompletionHandler = std::function<void(const DownloadOutcome &)>;

    /// `progressHandler` gets the downloaded share from 0 to 1 in steps that can be seen, and nothing when the
    /// server sends no length.
    /// `completionHandler` is called once. The download is written beside its destination and takes its place when
    /// it is whole. One of another size than that requested ends as soon as this shows, and so does one of unknown
    /// size that is longer than 2 GiB.
    DownloadDelegate(DownloadRequest request, ProgressHandler progressHandler, CompletionHandler completionHandler);

    /// Follows redirects to any server, since nothing secret is sent, but not from https to http.
    void start();
    /// The download ends as a failure.
    void cancel();

private:
    void checkHead();
    void receive();
    std::optional<QString> excess() const;
    void reportProgress();
    void finish();
    void fail(const QString &reason);
    std::optional<QString> failure() const;
    std::optional<QString> statusFailure() const;
    QString moveToDestination();
    void complete(const DownloadOutcome &outcome);

    const DownloadRequest m_request;
    const ProgressHandler m_progressHandler;
    CompletionHandler m_completionHandler;
    QNetworkAccessManager m_manager{this};
    QTemporaryFile m_file;
    QNetworkReply *m_reply = nullptr;
    QString m_failure; ///< why we ended the transfer ourselves; empty when we did not
    qint64 m_received = 0;
    double m_reported = 0; ///< the share told last
};
