#pragma once

#include "HTTPMessage.h"

#include <optional>
#include <span>

namespace devserver {

/// Tokens for sale.
struct Package {
    const char *id;
    const char *name;
    qint64 tokenCount;
    double price; // yuan
    std::optional<double> discount; // a fraction
    bool isPopular;
    const char *description;

    /// What is given on top.
    qint64 bonusTokens() const { return tokenCount / 10; }
};

/// Everything for sale. There is one package more than the application offers when it cannot ask.
std::span<const Package> packages();

/// The package, or nothing.
const Package *packageWithId(const QString &id);

JSON describe(const Package &package);

} // namespace devserver
