#include "APIService.h"

#include "KeychainService.h"
#include "Utilities/Deployment.h"

QString APIError::description() const
{
    switch (m_kind) {
    case Kind::HTTPError:
        return QStringLiteral("HTTP %1: %2").arg(QString::number(m_code), m_text);
    case Kind::DecodingError:
        return QStringLiteral("数据解析错误: ") + m_text;
    case Kind::NetworkError:
        return QStringLiteral("网络错误: ") + m_text;
    case Kind::InvalidURL:
        return QStringLiteral("无效的 URL");
    case Kind::InvalidResponse:
        return QStringLiteral("无效的服务器响应");
    case Kind::Unauthorized:
        return QStringLiteral("认证过期，请重新登录");
    }
    Q_UNREACHABLE();
}

APIService &APIService::shared()
{
    static APIService service(Deployment::accountOrigin() + QStringLiteral("/api/v1"), KeychainService::shared());
    return service;
}

APIService::APIService(QString baseURL, KeychainService &keychain, HTTPSession::Limits limits)
    : m_baseURL(std::move(baseURL))
    , m_keychain(keychain)
    , m_session(limits)
{
}

std::expected<QNetworkRequest, APIError> APIService::buildRequest(const QString &path) const
{
    const QUrl url(m_baseURL + path, QUrl::StrictMode);
    if (!url.isValid())
        return std::unexpected(APIError(APIError::Kind::InvalidURL));
    QNetworkRequest request(url);
    request.setRawHeader("Content-Type", "application/json");
    if (const auto token = m_keychain.get(QStringLiteral("auth_token")))
        request.setRawHeader("Authorization", "Bearer " + token->toUtf8());
    return request;
}

QCoro::Task<APIService::Body> APIService::execute(QString path, QByteArray method, QByteArray json, qsizetype bodyLimit)
{
    const auto request = buildRequest(path);
    if (!request)
        co_return Body{std::unexpected(request.error())};
    const auto response = co_await m_session.send(*request, method, json, bodyLimit);
    if (!response)
        co_return Body{std::unexpected(APIError(APIError::Kind::NetworkError, response.error().description))};
    if (response->status == 401)
        co_return Body{std::unexpected(APIError(APIError::Kind::Unauthorized))};
    if (response->status < 200 || response->status > 299) {
        const bool isText = simdjson::validate_utf8(response->body.constData(), std::size_t(response->body.size()));
        const QString text = isText ? QString::fromUtf8(response->body) : QString();
        co_return Body{std::unexpected(APIError(APIError::Kind::HTTPError, text, response->status))};
    }
    co_return Body{response->body};
}
