#include "DownloadTask.h"

DownloadTask::DownloadTask(const DownloadRequest &request)
    : m_delegate(new DownloadDelegate(
          request, [this](double fraction) { Q_EMIT progressed(fraction); },
          [this](const DownloadOutcome &outcome) { Q_EMIT completed(outcome); }))
{
    connect(this, &DownloadTask::cancelled, m_delegate, &DownloadDelegate::cancel);
    m_delegate->moveToThread(&m_thread);
    connect(&m_thread, &QThread::started, m_delegate, &DownloadDelegate::start);
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
    Q_EMIT cancelled(QPrivateSignal());
}
