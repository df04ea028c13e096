#pragma once

#include <QObject>
#include <array>

/// The pages of the token account's screen.
namespace TokenTab {
Q_NAMESPACE

enum Value { Purchase, History, Proxy };
Q_ENUM_NS(Value)

inline constexpr std::array allCases{Purchase, History, Proxy};

/// Its title.
QString rawValue(Value tab);

} // namespace TokenTab
