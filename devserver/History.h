#pragma once

#include "Accounts.h"
#include "Ledger.h"
#include "Packages.h"

namespace devserver {

/// A past to make up.
struct History {
    int entries;
    int days = 14; // the last of them today
    const Package *package; // bought whenever the tokens run short
};

/// Replaces the account's entries by a made-up history up to `now`, always the same for the same account.
void makeUpHistory(Ledger &ledger, const QString &userId, const History &history, const QDateTime &now);

/// Two weeks of use for each account, less for each further one.
Ledger seededLedger(const Accounts &accounts, const QDateTime &now);

} // namespace devserver
