#pragma once

#include "Models/SoftwareCatalog.h"

#include <QCoroTask>
#include <QObject>
#include <optional>

class APIService;
class Bundle;

/// Brings the catalog: the account server's, else the one among the application's resources, else
/// the built-in one.
class SoftwareCatalogService : public QObject
{
public:
    static SoftwareCatalogService &shared();

    SoftwareCatalogService(APIService &api, const Bundle &bundle);

    /// Never fails, but is empty when the service has gone meanwhile; why a better source did not serve is at most a
    /// line in the log.
    QCoro::Task<SoftwareCatalog::Entries> load();

    /// The server's catalog; none when it is empty or cannot be had.
    QCoro::Task<std::optional<SoftwareCatalog::Entries>> loadFromServer();

private:
    std::optional<SoftwareCatalog::Entries> loadFromResource() const;

    APIService &m_api;
    const Bundle &m_bundle;
};
