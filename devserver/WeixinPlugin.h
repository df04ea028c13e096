#pragma once

#include "HTTPMessage.h"

#include <QHash>
#include <chrono>
#include <optional>

namespace devserver {

struct ServerState;

/// The logins of the WeChat plug-in. Nobody needs to be there: after a while each counts as scanned by itself.
class WeixinLogins
{
public:
    /// How long a QR code is shown to nobody in particular.
    std::chrono::milliseconds scannedAfter = std::chrono::seconds(10);

    /// Gives the id of a new login.
    QString begin();
    /// False when there is no such login.
    bool scan(const QString &id);
    /// Nothing when there is no such login.
    std::optional<bool> isScanned(const QString &id) const;

private:
    using Clock = std::chrono::steady_clock;

    struct Login {
        Clock::time_point beginning;
        bool scanned = false;
    };

    QHash<QString, Login> m_logins;
};

/// GET /api/v1/software/files/weixin/download: a zip archive with OpenClaw's channel plug-in openclaw-weixin, made
/// for the host that was asked. Its login is the routes below; faults of theirs are failures of the login.
Response answerWeixinDownload(ServerState &state, const Request &request);

/// POST /weixin/login: begins a login. "id", the "address" to open, and the "rows" of its QR code as text:
/// half blocks, the light modules drawn, so that it reads rightly in light text on a dark ground.
Response answerWeixinLogin(ServerState &state, const Request &request);

/// GET /weixin/login: of the query's "id" the "state", "waiting" or "scanned", then also the "accountId".
Response answerWeixinState(ServerState &state, const Request &request);

/// GET /weixin/scan: what a phone opens that reads the QR code; the login with the query's "id" is scanned.
Response answerWeixinScan(ServerState &state, const Request &request);

} // namespace devserver
