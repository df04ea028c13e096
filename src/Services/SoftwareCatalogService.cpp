#include "SoftwareCatalogService.h"

#include "APIService.h"
#include "Platform/Bundle.h"
#include "Utilities/Log.h"

#include <QFile>
#include <QPointer>

namespace {

constexpr qsizetype bodyLimit = 32 * 1024 * 1024; // bytes

} // namespace

SoftwareCatalogService &SoftwareCatalogService::shared()
{
    static SoftwareCatalogService service(APIService::shared(), Bundle::main());
    return service;
}

SoftwareCatalogService::SoftwareCatalogService(APIService &api, const Bundle &bundle)
    : m_api(api)
    , m_bundle(bundle)
{
}

QCoro::Task<SoftwareCatalog::Entries> SoftwareCatalogService::load()
{
    const QPointer self(this);
    if (auto entries = co_await loadFromServer())
        co_return std::move(*entries);
    if (!self)
        co_return {};
    co_return loadFromResource().value_or(SoftwareCatalog::defaultCatalog());
}

QCoro::Task<std::optional<SoftwareCatalog::Entries>> SoftwareCatalogService::loadFromServer()
{
    const auto response =
        co_await m_api.get(QStringLiteral("/software/catalog"), SoftwareCatalog::decodeEntries, bodyLimit);
    if (!response) {
        Log::line(QStringLiteral("[Catalog] 服务端加载失败: ") + response.error().description());
        co_return std::nullopt;
    }
    if (!response->data || response->data->isEmpty())
        co_return std::nullopt;
    Log::line(QStringLiteral("[Catalog] 从服务端加载 %1 个软件").arg(response->data->size()));
    co_return response->data;
}

std::optional<SoftwareCatalog::Entries> SoftwareCatalogService::loadFromResource() const
{
    const auto path = m_bundle.resource(QStringLiteral("SoftwareCatalog.json"));
    QFile file(path.value_or(QString()));
    if (!path || !file.open(QIODevice::ReadOnly))
        return {};
    auto entries = SoftwareCatalog::decode(file.readAll());
    return entries ? std::optional(std::move(*entries)) : std::nullopt;
}
