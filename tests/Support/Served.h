#pragma once

#include "DevServer.h"
#include "Services/TokenAPIService.h"
#include "Support/Scratch.h"

/// What the account server answers around `data`.
inline QByteArray envelope(const QByteArray &data, int code = 0)
{
    return R"({"code":)" + QByteArray::number(code) + R"(,"message":"消息","data":)" + data + '}';
}

/// A local account server that answers as it is told, and a scratch home whose services ask it.
struct Served {
    /// From now on; `path` is that behind the API's root.
    void answer(const QString &path, const QByteArray &body, int status = 200, const QByteArray &method = "GET")
    {
        server.faults().set(method, QStringLiteral("/api/v1") + path, {.status = status, .body = body});
    }
    void answerData(const QString &path, const QByteArray &data, const QByteArray &method = "GET")
    {
        answer(path, envelope(data), 200, method);
    }
    void fail(const QString &path, int status, const QByteArray &method = "GET")
    {
        answer(path, "oops", status, method);
    }

    devserver::DevServer server{devserver::ServerState{}};
    const QString origin = server.start(0).value();
    Scratch scratch{origin};
    TokenAPIService tokenAPI{scratch.api};
};
