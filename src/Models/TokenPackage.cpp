#include "TokenPackage.h"

#include "TokenFormat.h"
#include "Utilities/Text.h"

#include <QLocale>
#include <cmath>

namespace {

Decoded<TokenPackage> decodePackage(JSONValue value)
{
    JSONReader json(value);
    return json.result(TokenPackage{
        .id = json.text("id"),
        .name = displayText(json.text("name")),
        .tokenCount = json.integer("tokenCount"),
        .price = json.value("price", decodeNumber),
        .currency = json.text("currency"),
        .discount = json.optionalNumber("discount"),
        .isPopular = json.value("isPopular", decodeBoolean),
        .packageDescription = displayText(json.text("packageDescription")),
    });
}

} // namespace

const QList<TokenPackage> &TokenPackage::mockPackages()
{
    static const QList<TokenPackage> packages{
        {
            .id = QStringLiteral("basic"),
            .name = QStringLiteral("基础版"),
            .tokenCount = 100'000,
            .price = 9.9,
            .currency = QStringLiteral("CNY"),
            .packageDescription = QStringLiteral("适合轻度使用"),
        },
        {
            .id = QStringLiteral("standard"),
            .name = QStringLiteral("标准版"),
            .tokenCount = 500'000,
            .price = 39.9,
            .currency = QStringLiteral("CNY"),
            .discount = 0.2,
            .isPopular = true,
            .packageDescription = QStringLiteral("最受欢迎，性价比最高"),
        },
        {
            .id = QStringLiteral("pro"),
            .name = QStringLiteral("专业版"),
            .tokenCount = 2'000'000,
            .price = 129.9,
            .currency = QStringLiteral("CNY"),
            .discount = 0.35,
            .packageDescription = QStringLiteral("适合重度使用和团队"),
        },
        {
            .id = QStringLiteral("enterprise"),
            .name = QStringLiteral("企业版"),
            .tokenCount = 10'000'000,
            .price = 499.9,
            .currency = QStringLiteral("CNY"),
            .discount = 0.5,
            .packageDescription = QStringLiteral("企业级用量，专属客服"),
        },
    };
    return packages;
}

QString TokenPackage::formattedTokenCount() const
{
    return QLocale(QLocale::English, QLocale::UnitedStates).toString(tokenCount);
}

QString TokenPackage::formattedPrice() const
{
    return formatYuan(price);
}

QString TokenPackage::formattedUnitPrice() const
{
    if (tokenCount == 0)
        return {};
    return formatYuan(price / double(tokenCount) * 1000) + QStringLiteral("/千Token");
}

QString TokenPackage::formattedDiscount() const
{
    if (!discount)
        return {};
    const double percent = std::trunc(*discount * 100) + 0.0; // the sum of -0 and 0 is 0
    return QStringLiteral("节省 ") + formatDecimal(percent, 0) + u'%';
}

Decoded<QList<TokenPackage>> decodePackages(JSONValue array)
{
    return decodeArray(array, decodePackage);
}
