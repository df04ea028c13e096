#pragma once

#include "Models/APIResponse.h"
#include "Platform/HTTPSession.h"

#include <QCoroTask>
#include <expected>

class KeychainService;

/// Why a call of the account server failed.
class APIError
{
public:
    enum class Kind { HTTPError, DecodingError, NetworkError, InvalidURL, InvalidResponse, Unauthorized };

    /// `text` is the response body of an HTTP error and the underlying reason of a decoding or
    /// network error; `code` is the status of an HTTP error. Callers also raise HTTP errors with an
    /// envelope's code and message.
    explicit APIError(Kind kind, QString text = {}, qint64 code = 0)
        : m_kind(kind)
        , m_text(std::move(text))
        , m_code(code)
    {
    }

    Kind kind() const { return m_kind; }
    const QString &text() const { return m_text; }
    /// The sentence the user sees.
    QString description() const;

private:
    Kind m_kind;
    QString m_text;
    qint64 m_code;
};

/// The JSON client of the account server. Adds the signed-in user's token to every request, retries
/// nothing, and leaves it to callers what an error means. Interface thread only.
class APIService
{
public:
    template<typename T> using Result = std::expected<APIResponse<T>, APIError>;

    static APIService &shared();

    static constexpr HTTPSession::Limits defaultLimits{.silence = std::chrono::seconds(30),
                                                       .exchange = std::chrono::seconds(60)};

    /// `baseURL` ends in "/api/v1", without a slash behind it.
    APIService(QString baseURL, KeychainService &keychain, HTTPSession::Limits limits = defaultLimits);

    const QString &baseURL() const { return m_baseURL; }

    /// `path` begins with "/" and may carry a query.
    std::expected<QNetworkRequest, APIError> buildRequest(const QString &path) const;

    /// `decodeData`, a callable from JSONValue to Decoded<T>, reads the envelope's data. A body over the limit is a
    /// network error.
    template<typename Decode, typename T = typename std::invoke_result_t<Decode, JSONValue>::value_type>
    QCoro::Task<Result<T>> get(QString path, Decode decodeData, qsizetype bodyLimit = HTTPSession::defaultBodyLimit)
    {
        const auto body = co_await execute(path, "GET", {}, bodyLimit);
        co_return decodeEnvelope<T>(body, decodeData);
    }

    /// `json` is sent as it is.
    template<typename Decode, typename T = typename std::invoke_result_t<Decode, JSONValue>::value_type>
    QCoro::Task<Result<T>> post(QString path, QByteArray json, Decode decodeData)
    {
        const auto body = co_await execute(path, "POST", json, HTTPSession::defaultBodyLimit);
        co_return decodeEnvelope<T>(body, decodeData);
    }

private:
    /// The body of an answer with a 2xx status. A type of its own because g++ 12 cannot await a bare
    /// std::expected inside a template.
    struct Body {
        std::expected<QByteArray, APIError> json;
    };

    QCoro::Task<Body> execute(QString path, QByteArray method, QByteArray json, qsizetype bodyLimit);

    template<typename T, typename Decode> static Result<T> decodeEnvelope(const Body &body, Decode decodeData)
    {
        if (!body.json)
            return std::unexpected(body.json.error());
        auto envelope = decodeAPIResponse(*body.json, decodeData);
        if (!envelope)
            return std::unexpected(APIError(APIError::Kind::DecodingError, envelope.error().description));
        return std::move(*envelope);
    }

    const QString m_baseURL;
    KeychainService &m_keychain;
    HTTPSession m_session;
};
