#include "Browser.h"

#include "Platform/Workspace.h"

#include <QPointer>

void Browser::open(const QUrl &url)
{
    tryToOpen(url);
}

QCoro::Task<> Browser::tryToOpen(QUrl url)
{
    const QPointer self(this);
    setHasFailed(false);
    const auto opened = co_await Workspace().openAddress(url);
    if (self)
        setHasFailed(!opened);
}

void Browser::setHasFailed(bool hasFailed)
{
    m_hasFailed = hasFailed;
    Q_EMIT hasFailedChanged();
}
