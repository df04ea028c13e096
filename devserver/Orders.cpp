#include "Orders.h"

namespace devserver {

Order &Orders::create(const QString &userId, const Package &package, const QDateTime &now)
{
    const QString number = QStringLiteral("VX%1%2")
                               .arg(now.toLocalTime().toString(QStringLiteral("yyyyMMddHHmmss")))
                               .arg(m_orders.size() + 1, 6, 10, QLatin1Char('0'));
    return m_orders.emplace_back(
        Order{.number = number, .userId = userId, .package = &package, .fate = nextFate, .createdAt = now});
}

Order *Orders::withNumber(QStringView number)
{
    const auto order = std::ranges::find(m_orders, number, &Order::number);
    return order == m_orders.end() ? nullptr : &*order;
}

} // namespace devserver
