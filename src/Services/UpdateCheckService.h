#pragma once

#include "Models/AppVersionInfo.h"
#include "Platform/HTTPSession.h"

#include <QDateTime>
#include <QObject>
#include <functional>

class Bundle;

/// Asks the update server whether there is a newer build of the application. Interface thread only.
class UpdateCheckService : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isChecking READ isChecking NOTIFY isCheckingChanged)

public:
    /// Tells the time; the server refuses requests whose time is minutes off.
    using TimeSource = std::function<QDateTime()>;

    static UpdateCheckService &shared();

    /// `baseURL` ends in "/api/v1", without a slash behind it. The bundle must outlive the service.
    UpdateCheckService(QString baseURL, const Bundle &bundle, TimeSource now = QDateTime::currentDateTimeUtc,
                       QObject *parent = nullptr);

    /// A request is under way.
    bool isChecking() const { return m_checks > 0; }

    /// The update that the server has for this build. None when there is none and when the check
    /// could not be made, which the log tells.
    QCoro::Task<std::optional<AppVersionInfo>> checkForUpdates();

Q_SIGNALS:
    void isCheckingChanged();

private:
    QCoro::Task<std::optional<AppVersionInfo>> requestUpdate(qint64 build);
    std::optional<qint64> currentBuild() const;
    QHash<QByteArray, QByteArray> feeAuthHeaders() const;
    void countChecks(int change);

    const QString m_baseURL;
    const Bundle &m_bundle;
    const TimeSource m_now;
    HTTPSession m_session;
    int m_checks = 0;
};
