#pragma once

#include "FaultTable.h"
#include "ServerState.h"

#include <QAbstractHttpServer>
#include <expected>

namespace devserver {

/// The local stand-in for the account server: real HTTP on loopback, state in memory, faults on demand.
class DevServer : public QAbstractHttpServer
{
    Q_OBJECT

public:
    explicit DevServer(ServerState state, QObject *parent = nullptr);

    /// Starts answering on 127.0.0.1; port 0 takes a free one. Gives the origin, for example
    /// "http://127.0.0.1:8080", or a Chinese sentence saying why it cannot. Call it once.
    std::expected<QString, QString> start(quint16 port);

    /// What the routes answer from; a change shows from the next request on.
    ServerState &state() { return m_state; }
    FaultTable &faults() { return m_faults; }

    /// Everything that came in since the start, in order, except requests to the control endpoints.
    const QList<Request> &requests() const { return m_requests; }

Q_SIGNALS:
    /// A request was added to `requests()`; its answer has not been sent yet.
    void requestRecorded();

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    Response answer(const Request &request);
    void answerWithFault(const Request &request, QTcpSocket *socket);

    ServerState m_state;
    FaultTable m_faults;
    QList<Request> m_requests;
};

} // namespace devserver
