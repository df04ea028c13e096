#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

/// The desktop's secret store (Secret Service), as items found by service and account. Calls are
/// synchronous and never ask the user to unlock anything: a locked or absent store reads as empty
/// and keeps nothing, which the first call to find it so says on standard error.
namespace Keychain {

/// Any number of items may match; one of them is returned.
std::optional<QByteArray> find(const QString &service, const QString &account);

/// False when the store is locked, absent or refuses.
bool add(const QString &service, const QString &account, const QByteArray &value);

/// Deletes every matching item.
void remove(const QString &service, const QString &account);

} // namespace Keychain
