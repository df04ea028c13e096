#pragma once

#include "ServerState.h"

#include <expected>

namespace devserver {

/// The application's own software catalog, embedded when the server was built.
QString embeddedCatalog();

/// The accounts embedded when the server was built. The error is a Chinese sentence.
std::expected<Accounts, QString> embeddedAccounts();

/// The state to start with: the embedded accounts with a history of two weeks, and this catalog. Its entries are taken
/// as they are, right or wrong; the error is a Chinese sentence saying why the file cannot be read or holds no JSON
/// array.
std::expected<ServerState, QString> readSeed(const QString &catalogFile);

} // namespace devserver
