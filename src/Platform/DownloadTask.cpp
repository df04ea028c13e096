#include "DownloadTask.h"

DownloadTask::DownloadTask(const QUrl &url, const QString &destination)
    // What comes from the thread goes through the event loop, and ends with this object.
    : m_delegate(new DownloadDelegate(
          destination,
          [this](double fraction) { QMetaObject::invokeMethod(this, [=, this] { Q_EMIT progressed(fraction); }); },
          [this](const DownloadOutcome &outcome) {
              QMetaObject::invokeMethod(this, [=, this] { Q_EMIT completed(outcome); });
          }))
{
    m_delegate->moveToThread(&m_thread);
    connect(&m_thread, &QThread::started, m_delegate, [delegate = m_delegate, url] { delegate->start(url); });
    connect(&m_thread, &QThread::finished, m_delegate, &QObject::deleteLater);
    m_thread.start();
}

DownloadTask::~DownloadTask()
{
    m_thread.quit();
    m_thread.wait();
}

void DownloadTask::cancel()
{
    QMetaObject::invokeMethod(m_delegate, [delegate = m_delegate] { delegate->cancel(); });
}
