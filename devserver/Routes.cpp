#include "Routes.h"

#include <algorithm>
#include <array>

namespace devserver {

namespace {

Response softwareCatalog(ServerState &state, const Request &)
{
    return success(state.catalog);
}

constexpr std::array Routes{
    Route{"GET", u"/api/v1/software/catalog", softwareCatalog},
};

} // namespace

const Route *findRoute(QByteArrayView method, QStringView path)
{
    const auto route = std::ranges::find_if(
        Routes, [&](const Route &candidate) { return candidate.method == method && candidate.path == path; });
    return route == Routes.end() ? nullptr : &*route;
}

} // namespace devserver
