#include "FaultTable.h"

namespace devserver {

Response Fault::applyTo(Response response) const
{
    response.status = status.value_or(response.status);
    response.body = body.value_or(response.body);
    response.contentType = contentType.value_or(response.contentType);
    response.headers += headers;
    response.delivery.length = length;
    response.delivery.announcesLength = response.delivery.announcesLength && announcesLength;
    return response;
}

void FaultTable::set(const QByteArray &method, const QString &path, Fault fault, int times)
{
    m_entries.insert({method, path}, {std::move(fault), times});
}

void FaultTable::clear()
{
    m_entries.clear();
}

Fault FaultTable::take(const QByteArray &method, const QString &path)
{
    const auto entry = m_entries.find({method, path});
    if (entry == m_entries.end())
        return {};
    const Fault fault = entry->fault;
    if (entry->timesLeft > 0 && --entry->timesLeft == 0)
        m_entries.erase(entry);
    return fault;
}

} // namespace devserver
