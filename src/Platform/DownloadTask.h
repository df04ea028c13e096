#pragma once

#include "DownloadDelegate.h"

#include <QThread>

/// A running download into a file, as DownloadDelegate does it. Dropping it cancels the download; nothing is
/// told then. Interface thread only.
class DownloadTask : public QObject
{
    Q_OBJECT

public:
    /// Starts at once.
    explicit DownloadTask(const DownloadRequest &request);
    ~DownloadTask() override;

    /// completed() follows, with a failure, unless the download has just ended.
    void cancel();

Q_SIGNALS:
    // Both are emitted on the download's thread, and so reach a receiver by its event loop.

    /// The downloaded share, from 0 to 1.
    void progressed(double fraction);
    /// Once, when nothing goes on any more.
    void completed(const DownloadOutcome &outcome);

    void cancelled(QPrivateSignal);

private:
    QThread m_thread;
    DownloadDelegate *const m_delegate; ///< lives and ends on the thread
};
