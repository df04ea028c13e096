#include "Packages.h"

#include <algorithm>
#include <array>

namespace devserver {

namespace {

constexpr std::array all{
    Package{"trial", "体验版", 20'000, 1.9, {}, false, "先试一试"},
    Package{"basic", "基础版", 100'000, 9.9, {}, false, "适合轻度使用"},
    Package{"standard", "标准版", 500'000, 39.9, 0.2, true, "最受欢迎，性价比最高"},
    Package{"pro", "专业版", 2'000'000, 129.9, 0.35, false, "适合重度使用和团队"},
    Package{"enterprise", "企业版", 10'000'000, 499.9, 0.5, false, "企业级用量，专属客服"},
};

} // namespace

std::span<const Package> packages()
{
    return all;
}

const Package *packageWithId(const QString &id)
{
    const auto package = std::ranges::find_if(all, [&](const Package &each) { return id == QLatin1String(each.id); });
    return package == all.end() ? nullptr : &*package;
}

JSON describe(const Package &package)
{
    JSON json{{"id", package.id},
              {"name", package.name},
              {"tokenCount", package.tokenCount},
              {"price", package.price},
              {"currency", "CNY"}};
    if (package.discount)
        json["discount"] = *package.discount;
    json["isPopular"] = package.isPopular;
    json["packageDescription"] = package.description;
    return json;
}

} // namespace devserver
