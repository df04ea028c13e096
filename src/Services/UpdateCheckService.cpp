#include "UpdateCheckService.h"

#include "Platform/Bundle.h"
#include "Utilities/Deployment.h"
#include "Utilities/Log.h"

#include <QPointer>
#include <QUrl>
#include <charconv>
#include <openssl/evp.h>

using namespace std::chrono_literals;

namespace {

const QByteArray productKey = QByteArrayLiteral("3de26c6ff0b451325df73a1545174b36");
// Its text is the key, not the bytes that it spells.
const QByteArray signingSecret = QByteArrayLiteral("d9b65650b5912129c535d15fe11ce815931197bea0664a07359f82dbeb9cf63b");

/// The envelope of the update server's answers; unlike the account server's it need not say more than its code.
struct FeeResponse {
    qint64 code = 0; ///< 0 means success
    std::optional<QString> message;
    std::optional<VersionCheckResponse> data;
};

Decoded<FeeResponse> decodeFeeResponse(JSONValue value)
{
    JSONReader json(value);
    return json.result(FeeResponse{
        .code = json.integer("code"),
        .message = json.optionalText("message"),
        .data = json.optionalValue("data", decodeVersionCheck),
    });
}

/// In hexadecimal; empty when OpenSSL has no HMAC to offer, which the server takes for a wrong signature.
QByteArray hmacSHA256(const QByteArray &key, const QByteArray &message)
{
    QByteArray mac(EVP_MAX_MD_SIZE, Qt::Uninitialized);
    std::size_t size = 0;
    const auto bytes = reinterpret_cast<const unsigned char *>(message.constData());
    EVP_Q_mac(nullptr, "HMAC", nullptr, "SHA256", nullptr, key.constData(), std::size_t(key.size()), bytes,
              std::size_t(message.size()), reinterpret_cast<unsigned char *>(mac.data()), std::size_t(mac.size()),
              &size);
    return mac.first(qsizetype(size)).toHex();
}

std::nullopt_t failed(const QString &reason)
{
    Log::line(QStringLiteral("⚠️ 检查更新失败: ") + reason);
    return std::nullopt;
}

std::optional<AppVersionInfo> readAnswer(const QByteArray &body)
{
    const auto answer = decodeJSON(body, decodeFeeResponse);
    if (!answer)
        return failed(answer.error().description);
    if (answer->code != 0 || !answer->data)
        return {};
    return answer->data->versionInfo();
}

} // namespace

UpdateCheckService &UpdateCheckService::shared()
{
    static UpdateCheckService service(Deployment::updateOrigin() + QStringLiteral("/api/v1"), Bundle::main());
    return service;
}

UpdateCheckService::UpdateCheckService(QString baseURL, const Bundle &bundle, TimeSource now, QObject *parent)
    : QObject(parent)
    , m_baseURL(std::move(baseURL))
    , m_bundle(bundle)
    , m_now(std::move(now))
    , m_session(60s)
{
}

QCoro::Task<std::optional<AppVersionInfo>> UpdateCheckService::checkForUpdates()
{
    const auto build = currentBuild();
    if (!build) {
        Log::line(QStringLiteral("⚠️ 无法获取当前构建号"));
        co_return std::nullopt;
    }
    const QPointer self(this);
    countChecks(+1);
    auto update = co_await requestUpdate(*build);
    if (self)
        countChecks(-1);
    co_return update;
}

QCoro::Task<std::optional<AppVersionInfo>> UpdateCheckService::requestUpdate(qint64 build)
{
    const QUrl url(m_baseURL + QStringLiteral("/update/check?build_number=%1").arg(build), QUrl::StrictMode);
    if (!url.isValid())
        co_return std::nullopt;
    QNetworkRequest request(url);
    request.setTransferTimeout(60'000);
    const auto headers = feeAuthHeaders();
    for (auto header = headers.begin(); header != headers.end(); ++header)
        request.setRawHeader(header.key(), header.value());
    const auto response = co_await m_session.send(request, "GET", {});
    if (!response)
        co_return failed(response.error().description);
    co_return readAnswer(response->body);
}

std::optional<qint64> UpdateCheckService::currentBuild() const
{
    QByteArray text = m_bundle.buildNumber().value_or(QString()).toUtf8();
    if (text.startsWith('+'))
        text.remove(0, 1);
    // Not QString's conversion: it would let white space pass.
    qint64 build = 0;
    const auto [end, error] = std::from_chars(text.cbegin(), text.cend(), build);
    const bool isNumber = error == std::errc() && end == text.cend();
    return isNumber && build >= 1 ? std::optional(build) : std::nullopt;
}

QHash<QByteArray, QByteArray> UpdateCheckService::feeAuthHeaders() const
{
    const QByteArray timestamp = QByteArray::number(m_now().toSecsSinceEpoch());
    return {{"X-Product-Key", productKey},
            {"X-Timestamp", timestamp},
            {"X-Signature", hmacSHA256(signingSecret, productKey + timestamp)}};
}

void UpdateCheckService::countChecks(int change)
{
    const bool wasChecking = isChecking();
    m_checks += change;
    if (isChecking() != wasChecking)
        Q_EMIT isCheckingChanged();
}
