#pragma once

#include <QNetworkAccessManager>
#include <QTemporaryFile>
#include <QUrl>
#include <expected>
#include <functional>
#include <optional>

class QNetworkReply;

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
    /// `completionHandler` is called once. The download is written beside `destination`, whose folder is made,
    /// and takes its place when it is whole.
    DownloadDelegate(QString destination, ProgressHandler progressHandler, CompletionHandler completionHandler);

    /// Follows redirects, gives up after a minute without a byte.
    void start(const QUrl &url);
    /// The download ends as a failure.
    void cancel();

private:
    void receive();
    void reportProgress();
    void finish();
    void fail(const QString &reason);
    std::optional<QString> failure() const;
    QString moveToDestination();
    void complete(const DownloadOutcome &outcome);

    const QString m_destination;
    const ProgressHandler m_progressHandler;
    CompletionHandler m_completionHandler;
    QNetworkAccessManager m_manager{this};
    QTemporaryFile m_file;
    QNetworkReply *m_reply = nullptr;
    QString m_failure; ///< why we ended the transfer ourselves; empty when we did not
    qint64 m_received = 0;
    double m_reported = 0; ///< the share told last
};
