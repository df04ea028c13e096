#include "Routes.h"

#include "Login.h"
#include "Session.h"

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
    Route{"GET", u"/authorize", answerAuthorize},
    Route{"POST", u"/authorize/code", answerPhoneCode},
    Route{"POST", u"/authorize/login", answerLogin},
    Route{"GET", u"/auth/callback", answerCallback},
    Route{"GET", u"/auth/verify", answerVerify},
    Route{"POST", u"/auth/logout", answerLogout},
};

} // namespace

const Route *findRoute(QByteArrayView method, QStringView path)
{
    const auto route = std::ranges::find_if(
        Routes, [&](const Route &candidate) { return candidate.method == method && candidate.path == path; });
    return route == Routes.end() ? nullptr : &*route;
}

} // namespace devserver
