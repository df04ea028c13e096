#pragma once

#include "Named.h"
#include "Packages.h"

#include <QDateTime>
#include <list>

namespace devserver {

enum class OrderStatus { Pending, Paid, Failed, Expired };

inline constexpr std::array orderStatuses{
    Named<OrderStatus>{"pending", OrderStatus::Pending},
    Named<OrderStatus>{"paid", OrderStatus::Paid},
    Named<OrderStatus>{"failed", OrderStatus::Failed},
    Named<OrderStatus>{"expired", OrderStatus::Expired},
};

/// What becomes of an order.
enum class OrderFate {
    Payable, // paid by the button of the payment page
    SelfPaid, // paid as soon as anybody asks for it
    NeverPaid, // pressing the button changes nothing
    Failing, // pressing the button makes it fail
    Expiring, // has expired as soon as anybody asks for it
};

inline constexpr std::array orderFates{
    Named<OrderFate>{"payable", OrderFate::Payable},     Named<OrderFate>{"selfPaid", OrderFate::SelfPaid},
    Named<OrderFate>{"neverPaid", OrderFate::NeverPaid}, Named<OrderFate>{"failing", OrderFate::Failing},
    Named<OrderFate>{"expiring", OrderFate::Expiring},
};

struct Order {
    static constexpr int MinutesToPay = 30;

    QString number;
    QString userId;
    const Package *package;
    OrderFate fate;
    QDateTime createdAt;
    OrderStatus status = OrderStatus::Pending;
    bool buttonWasPressed = false;
};

class Orders
{
public:
    /// The fate of the orders created from now on.
    OrderFate nextFate = OrderFate::Payable;

    Order &create(const QString &userId, const Package &package, const QDateTime &now);
    /// The order, or nothing; valid while this object is.
    Order *withNumber(QStringView number);
    /// The oldest first.
    const std::list<Order> &all() const { return m_orders; }

private:
    std::list<Order> m_orders;
};

} // namespace devserver
